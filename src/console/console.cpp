#include "console/console.h"

#include "winconv/convert.h"

#include <io.h>
#include <windows.h>

#include <cstdio>
#include <string>
#include <system_error>

namespace Console {

namespace {

// A device such as NUL counts as a terminal, but is no console.
bool is_console(std::FILE* stream) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream == stdout ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE), &mode) != 0;
}

void write(std::FILE* stream, std::string_view text) {
    // The system replaces what is ill-formed on the way to UTF-16.
    const std::string well_formed = WinConv::native_to_utf8(WinConv::utf8_to_native(text));
    const std::string_view shown = well_formed.empty() ? text : std::string_view(well_formed);
    if (!is_console(stream)) {
        // At once: the C library would hand text for a device over byte by byte.
        static_cast<void>(std::fflush(stream));
        static_cast<void>(_write(_fileno(stream), shown.data(), static_cast<unsigned>(shown.size())));
        return;
    }
    try {
        fmt::print(stream, "{}", shown);
    } catch (const std::system_error&) {
        // Nobody is there to be told.
    }
}

} // namespace

void write_output(std::string_view text) {
    write(stdout, text);
}

void write_error(std::string_view text) {
    write(stderr, text);
}

} // namespace Console
