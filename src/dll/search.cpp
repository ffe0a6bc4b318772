#include "dll/search.h"

#include <windows.h>

namespace Dll {

void confine_search() {
    const FARPROC address = GetProcAddress(GetModuleHandleW(L"kernel32"), "SetDefaultDllDirectories");
    auto* const set_default_directories = reinterpret_cast<BOOL(WINAPI*)(DWORD)>(reinterpret_cast<void*>(address));
    if (set_default_directories == nullptr || set_default_directories(LOAD_LIBRARY_SEARCH_SYSTEM32) == 0) {
        SetDllDirectoryW(L"");
    }
}

} // namespace Dll
