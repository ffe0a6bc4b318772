#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace System {

/// Returns the image-file machine code of a processor architecture of SYSTEM_INFO; 0 if unknown.
std::uint16_t machine_of_processor(std::uint16_t processor);

/// Returns the name of a machine code's architecture, nothing if unknown.
std::optional<std::string> architecture_name(std::uint16_t machine);

/// Returns the image-file machine code of the processor itself, also for a process that runs emulated; 0 if unknown.
std::uint16_t native_machine();

/// Returns the name of native_machine()'s architecture, the tool's own if it is unknown, and logs it.
std::string detect_native_arch();

/// Returns the moment of the last restart in UTC, as "2025-01-31 08:15:02.4812345", and logs it.
std::string detect_up_since();

} // namespace System
