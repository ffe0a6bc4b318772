#pragma once

#include "dll/dynamic_library.h"

namespace System {

/// kernel32.dll; optional symbol: IsWow64Process2.
Dll::DynamicLibrary& kernel32();
extern Dll::LibrarySymbol is_wow64_process2;

/// ntdll.dll; required symbol: RtlGetVersion.
Dll::DynamicLibrary& ntdll();
extern Dll::LibrarySymbol rtl_get_version;

/// The WinRT core; required symbol: RoInitialize; optional symbol: RoUninitialize.
Dll::DynamicLibrary& winrt_core();
extern Dll::LibrarySymbol ro_initialize;
extern Dll::LibrarySymbol ro_uninitialize;

} // namespace System
