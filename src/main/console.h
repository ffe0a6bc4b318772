#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace Console {

/// Writes UTF-8 text as it stands, except that ill-formed bytes, such as a parser quotes from a damaged file, become
/// U+FFFD: consoles take no others. Throws std::system_error if the stream refuses it.
void write_output(std::string_view text);
void write_error(std::string_view text);

/// Formats a result for the user and writes it to standard output.
template <typename... Args>
void print(fmt::format_string<Args...> format, Args&&... args) {
    write_output(fmt::format(format, std::forward<Args>(args)...));
}

/// Formats an error message and writes it to standard error.
template <typename... Args>
void print_error(fmt::format_string<Args...> format, Args&&... args) {
    write_error(fmt::format(format, std::forward<Args>(args)...));
}

} // namespace Console
