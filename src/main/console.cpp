#include "main/console.h"

#include "winconv/convert.h"

#include <cstdio>
#include <string>

namespace Console {

namespace {

void write(std::FILE* stream, std::string_view text) {
    // The system replaces what is ill-formed on the way to UTF-16.
    fmt::print(stream, "{}", WinConv::native_to_utf8(WinConv::utf8_to_native(text)));
}

} // namespace

void write_output(std::string_view text) {
    write(stdout, text);
}

void write_error(std::string_view text) {
    write(stderr, text);
}

} // namespace Console
