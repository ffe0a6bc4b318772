#pragma once

#include <cstdint>
#include <string>

namespace System {

/// Returns the IMAGE_FILE_MACHINE_ constant of the machine's native architecture, even if the process is emulated; 0 if
/// unknown.
std::uint16_t native_machine();

/// Returns the name of the native architecture and logs it; if it is unknown, "x86_64", the architecture of the tool
/// itself.
std::string detect_native_arch();

} // namespace System
