#include "main/command_line.h"

#include "winconv/convert.h"
#include "winconv/error_text.h"
#include "winconv/owned.h"

#include <windows.h>

#include <shellapi.h>

#include <span>
#include <system_error>

namespace CommandLine {

namespace {

void free_local(LPWSTR* memory) noexcept {
    LocalFree(memory);
}
using WideArguments = WinConv::Owned<LPWSTR*, free_local>;

} // namespace

std::vector<std::string> arguments() {
    int count = 0;
    const WideArguments wide(CommandLineToArgvW(GetCommandLineW(), &count));
    if (!wide) {
        throw std::system_error(WinConv::last_error(), "CommandLineToArgvW");
    }
    std::vector<std::string> utf8;
    for (const LPCWSTR argument : std::span(wide.get(), static_cast<std::size_t>(count))) {
        utf8.push_back(WinConv::native_to_utf8(argument));
    }
    return utf8;
}

} // namespace CommandLine
