#pragma once

#include "dll/dynamic_library.h"

namespace System {

/// Kernel functions of later Windows; optional: IsWow64Process2.
Dll::DynamicLibrary& kernel32();
extern Dll::LibrarySymbol is_wow64_process2;

/// The kernel's own interface; required: RtlGetVersion.
Dll::DynamicLibrary& ntdll();
extern Dll::LibrarySymbol rtl_get_version;

/// The WinRT core; required: RoInitialize; optional: RoUninitialize, its counterpart.
Dll::DynamicLibrary& winrt_core();
extern Dll::LibrarySymbol ro_initialize;
extern Dll::LibrarySymbol ro_uninitialize;

} // namespace System
