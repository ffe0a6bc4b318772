#include "fakes/imports.h"

// The linker option --wrap=__imp_NAME makes the pointers below the import table's entry and its original.
#define CORVEL_DEFINE_FAKE(name, ...)                                                                                                                                                                  \
    extern "C" decltype(&::name) __real___imp_##name;                                                                                                                                                  \
    namespace Fakes {                                                                                                                                                                                  \
    Fake<decltype(::name)> name{&__real___imp_##name, #name};                                                                                                                                          \
    }                                                                                                                                                                                                  \
    extern "C" {                                                                                                                                                                                       \
    decltype(&::name) __wrap___imp_##name = Fakes::call<Fakes::name, __real___imp_##name>;                                                                                                             \
    }

CORVEL_OTHER_IMPORTS(CORVEL_DEFINE_FAKE)
CORVEL_FAILING_IMPORTS(CORVEL_DEFINE_FAKE)

// --wrap=NAME sends the calls of a linked function to __wrap_NAME.
#define CORVEL_DEFINE_LINKED_FAKE(name, result, parameters, arguments)                                                                                                                                 \
    extern "C" result WINAPI __real_##name parameters;                                                                                                                                                 \
    namespace Fakes {                                                                                                                                                                                  \
    static decltype(&::name) real_##name = __real_##name;                                                                                                                                              \
    Fake<decltype(::name)> name{&real_##name, #name};                                                                                                                                                  \
    }                                                                                                                                                                                                  \
    extern "C" result WINAPI __wrap_##name parameters { return Fakes::name arguments; }

CORVEL_DEFINE_LINKED_FAKE(GetBestInterface, DWORD, (IPAddr address, PDWORD index), (address, index))
CORVEL_DEFINE_LINKED_FAKE(GetIpAddrTable, DWORD, (PMIB_IPADDRTABLE table, PULONG size, BOOL order), (table, size, order))
CORVEL_DEFINE_LINKED_FAKE(SHGetKnownFolderPath, HRESULT, (REFKNOWNFOLDERID id, DWORD flags, HANDLE token, PWSTR* path), (id, flags, token, path))
CORVEL_DEFINE_LINKED_FAKE(WinHttpCrackUrl, BOOL, (LPCWSTR url, DWORD length, DWORD flags, LPURL_COMPONENTS components), (url, length, flags, components))
