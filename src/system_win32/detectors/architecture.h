#pragma once

#include <cstdint>
#include <string>

namespace System {

/// Returns the image-file machine code of the processor itself, also for a process that runs emulated; 0 if unknown.
std::uint16_t native_machine();

/// Returns the name of native_machine()'s architecture, the tool's own if it is unknown, and logs it.
std::string detect_native_arch();

} // namespace System
