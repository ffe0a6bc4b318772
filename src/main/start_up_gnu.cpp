// Start-up code for GNU compilers.
//
// Their stack protector normally gets its guard value from a library that calls a cryptographic provider at start-up,
// which loads a dozen other DLLs before the DLL search is restricted. Here, the guard value is computed without loading
// any DLL.

#include "dll/search.h"

#include <windows.h>

#include <cstdint>
#include <exception>

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming): the compiler's.
extern "C" {
// Disables wildcard expansion: the C library would replace arguments that contain "*" or "?" with matching file names.
int _dowildcard = 0;

std::uintptr_t __stack_chk_guard = 0;
[[noreturn]] void __stack_chk_fail();
}

void __stack_chk_fail() {
    // The stack is corrupt: ends the process without running handlers or destructors.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_STACK_BUFFER_OVERRUN));
    std::terminate();
}

namespace {

// Combines the same values as Microsoft's run-time library. A random number would require a DLL that Windows searches
// for in the executable's folder before any of this code runs.
[[gnu::no_stack_protector]] std::uintptr_t make_guard() {
    FILETIME time{};
    GetSystemTimeAsFileTime(&time);
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    const auto address = reinterpret_cast<std::uintptr_t>(&time);
    const std::uintptr_t ticks = GetTickCount64();
    const std::uintptr_t identifiers = std::uintptr_t{GetCurrentProcessId()} << 32U ^ GetCurrentThreadId();
    const std::uintptr_t now = std::uintptr_t{time.dwLowDateTime} << 32U ^ time.dwHighDateTime;
    const std::uintptr_t count = static_cast<std::uintptr_t>(counter.QuadPart) << 16U;
    // The lowest byte is zero, so that an overflowing string cannot reproduce the guard.
    return (now ^ ticks << 24U ^ identifiers ^ count ^ address << 8U) & ~std::uintptr_t{0xFF};
}

[[gnu::constructor(101), gnu::no_stack_protector]] void start_up() {
    Dll::confine_search();
    __stack_chk_guard = make_guard();
}

} // namespace
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
