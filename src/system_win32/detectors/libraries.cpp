#include "system_win32/detectors/libraries.h"

namespace System {

Dll::LibrarySymbol is_wow64_process2{nullptr, "IsWow64Process2"};
Dll::LibrarySymbol rtl_get_version{nullptr, "RtlGetVersion"};
Dll::LibrarySymbol ro_initialize{nullptr, "RoInitialize"};
Dll::LibrarySymbol ro_uninitialize{nullptr, "RoUninitialize"};

Dll::DynamicLibrary& kernel32() {
    static Dll::DynamicLibrary library({}, {&is_wow64_process2});
    return library;
}

Dll::DynamicLibrary& ntdll() {
    static Dll::DynamicLibrary library({&rtl_get_version}, {});
    return library;
}

Dll::DynamicLibrary& winrt_core() {
    static Dll::DynamicLibrary library({&ro_initialize}, {&ro_uninitialize});
    return library;
}

} // namespace System
