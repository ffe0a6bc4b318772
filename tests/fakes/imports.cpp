#include "fakes/imports.h"

CORVEL_FAKED_IMPORTS(CORVEL_DEFINE_FAKE)

// --wrap=NAME sends the calls of a linked function to __wrap_NAME.
#define CORVEL_DEFINE_LINKED_FAKE(name, result, parameters, arguments)                                                 \
    namespace Fakes {                                                                                                  \
    Fake<decltype(::name)> name;                                                                                       \
    }                                                                                                                  \
    extern "C" result WINAPI __real_##name parameters;                                                                 \
    extern "C" result WINAPI __wrap_##name parameters {                                                                \
        return Fakes::name.applies() ? Fakes::name.replacement arguments : __real_##name arguments;                    \
    }

CORVEL_DEFINE_LINKED_FAKE(GetBestInterface, DWORD, (IPAddr address, PDWORD index), (address, index))
CORVEL_DEFINE_LINKED_FAKE(GetIpAddrTable, DWORD, (PMIB_IPADDRTABLE table, PULONG size, BOOL order),
                          (table, size, order))
CORVEL_DEFINE_LINKED_FAKE(SHGetKnownFolderPath, HRESULT, (REFKNOWNFOLDERID id, DWORD flags, HANDLE token, PWSTR* path),
                          (id, flags, token, path))
