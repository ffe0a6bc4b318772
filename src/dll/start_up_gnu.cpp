// What GNU compilers leave to a library that their executables would start with: the guard of the stack protector. That
// library asks a cryptographic provider for it, which loads a dozen others before the search for them is confined.

#include "dll/search.h"

#include <windows.h>

#include <ntsecapi.h>

#include <cstdint>
#include <exception>

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming): the compiler's.
extern "C" {
std::uintptr_t __stack_chk_guard = 0;
[[noreturn]] void __stack_chk_fail();
}

void __stack_chk_fail() {
    // The stack is not what it was: nothing of it may run any more.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_STACK_BUFFER_OVERRUN));
    std::terminate();
}

namespace {

[[gnu::constructor(101), gnu::optimize("no-stack-protector")]] void start_up() {
    Dll::confine_search();
    std::uintptr_t guard = 0;
    if (RtlGenRandom(&guard, sizeof guard) == FALSE) {
        // Still as hard to guess as the image's place in memory.
        guard = reinterpret_cast<std::uintptr_t>(&__stack_chk_guard) ^ GetTickCount();
    }
    // Its lowest byte is zero, so that no string can bring it along.
    __stack_chk_guard = guard & ~std::uintptr_t{0xFF};
}

} // namespace
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
