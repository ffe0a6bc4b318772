#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

/// What the user reads. Texts are UTF-8; bytes that are not, such as a parser quotes from a damaged file, become
/// U+FFFD. A console gets UTF-16, a file or pipe UTF-8. A stream that refuses its text is ignored: it changes nothing
/// about what the tool does.
namespace Console {

/// Tells whether standard output is a console.
bool output_is_console();

/// Writes the text to standard output as it stands.
void write_output(std::string_view text);

/// Writes the text to standard error as it stands.
void write_error(std::string_view text);

/// Formats a result and writes it to standard output.
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
