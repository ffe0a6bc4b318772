#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>
#include <string>

namespace WinConv {

/// The system's unit of time, 100 nanoseconds.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10000000>>;

/// Returns the moment in UTC with seven digits of the second: "2025-01-31 08:15:02.4812345".
std::string utc_text(std::chrono::sys_time<Ticks> time);

} // namespace WinConv
