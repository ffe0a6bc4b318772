// What starts differently with GNU compilers.
//
// They leave the guard of the stack protector to a library, which asks a cryptographic provider for it at start-up and
// so loads a dozen other libraries before the search for them is confined. Here it is made without any.

#include "dll/search.h"

#include <windows.h>

#include <cstdint>
#include <exception>

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming): the compiler's.
extern "C" {
// Arguments stay as they are typed: the C library would replace one that has "*" or "?" in it by names of files.
int _dowildcard = 0;

std::uintptr_t __stack_chk_guard = 0;
[[noreturn]] void __stack_chk_fail();
}

void __stack_chk_fail() {
    // The stack can no longer be trusted: nothing of it may run.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_STACK_BUFFER_OVERRUN));
    std::terminate();
}

namespace {

// What Microsoft's run-time library makes its guard of. A random number would have to come from a library that Windows
// looks for beside the executable, and finds there before any of this code runs.
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
    // Its lowest byte is zero, so that no string can contain it.
    return (now ^ ticks << 24U ^ identifiers ^ count ^ address << 8U) & ~std::uintptr_t{0xFF};
}

[[gnu::constructor(101), gnu::no_stack_protector]] void start_up() {
    Dll::confine_search();
    __stack_chk_guard = make_guard();
}

} // namespace
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
