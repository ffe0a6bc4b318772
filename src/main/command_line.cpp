#include "main/command_line.h"

#include "winconv/convert.h"
#include "winconv/error_text.h"
#include "winconv/owned.h"

#include <windows.h>

#include <shellapi.h>

#include <cstddef>
#include <span>
#include <string_view>
#include <system_error>

namespace CommandLine {

namespace {

using WideArguments = WinConv::Owned<LPWSTR*, LocalFree>;

constexpr auto blanks = L" \t";

std::vector<std::string> split_by_system(const wchar_t* command_line) {
    int count = 0;
    const WideArguments wide(CommandLineToArgvW(command_line, &count));
    if (!wide) {
        throw std::system_error(WinConv::last_error(), "CommandLineToArgvW");
    }
    std::vector<std::string> arguments;
    for (const LPCWSTR argument : std::span(wide.get(), static_cast<std::size_t>(count)).subspan(1)) {
        arguments.push_back(WinConv::native_to_utf8(argument));
    }
    return arguments;
}

// What follows the program's name, which ends at a blank, or at the second quotation mark if it begins with one.
std::wstring_view behind_program(std::wstring_view command_line) {
    const bool quoted = command_line.starts_with(L'"');
    const auto end = quoted ? command_line.find(L'"', 1) : command_line.find_first_of(blanks);
    return end == std::wstring_view::npos ? std::wstring_view() : command_line.substr(end + 1);
}

} // namespace

std::vector<std::string> split(const wchar_t* command_line) {
    std::wstring_view rest = behind_program(command_line);
    // Quoting is the system's business, but its splitter stands in a library that takes long to load.
    if (rest.find(L'"') != std::wstring_view::npos) {
        return split_by_system(command_line);
    }
    std::vector<std::string> arguments;
    for (auto start = rest.find_first_not_of(blanks); start != std::wstring_view::npos;
         start = rest.find_first_not_of(blanks)) {
        rest.remove_prefix(start);
        const auto end = rest.find_first_of(blanks);
        arguments.push_back(WinConv::native_to_utf8(rest.substr(0, end)));
        rest.remove_prefix(end == std::wstring_view::npos ? rest.size() : end);
    }
    return arguments;
}

std::vector<std::string> arguments() {
    return split(GetCommandLineW());
}

} // namespace CommandLine
