#include "console/console.h"

#include "winconv/convert.h"

#include <io.h>
#include <windows.h>

#include <cstdio>
#include <string>

namespace Console {

namespace {

// Returns the handle of a standard stream if it is a console, otherwise null. _isatty() would also accept devices such
// as NUL.
HANDLE console_of(DWORD stream) {
    HANDLE handle = GetStdHandle(stream);
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0 ? handle : nullptr;
}

void write(DWORD stream, std::FILE* file, std::string_view text) {
    // Output that the C library has buffered comes first.
    static_cast<void>(std::fflush(file));
    // The conversion to UTF-16 replaces ill-formed bytes with U+FFFD.
    const std::wstring native = WinConv::utf8_to_native(text);
    if (HANDLE console = console_of(stream)) {
        DWORD written = 0;
        WriteConsoleW(console, native.data(), static_cast<DWORD>(native.size()), &written, nullptr);
        return;
    }
    const std::string well_formed = WinConv::native_to_utf8(native);
    const std::string_view bytes = well_formed.empty() ? text : std::string_view(well_formed);
    // In one call: the C library's streams would write to a character device byte by byte.
    static_cast<void>(_write(_fileno(file), bytes.data(), static_cast<unsigned>(bytes.size())));
}

} // namespace

bool output_is_console() {
    return console_of(STD_OUTPUT_HANDLE) != nullptr;
}

void write_output(std::string_view text) {
    write(STD_OUTPUT_HANDLE, stdout, text);
}

void write_error(std::string_view text) {
    write(STD_ERROR_HANDLE, stderr, text);
}

} // namespace Console
