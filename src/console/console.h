#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

/// Output for the user. Text is UTF-8; ill-formed bytes, which a parser may quote from a damaged file, become U+FFFD. A
/// console receives UTF-16, a file or pipe receives UTF-8. Write errors are ignored: they do not change what the tool
/// does.
namespace Console {

/// Returns whether standard output is a console.
bool output_is_console();

/// Writes the text to standard output. Does not add a line feed.
void write_output(std::string_view text);

/// Writes the text to standard error. Does not add a line feed.
void write_error(std::string_view text);

/// Formats a message and writes it to standard output.
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
