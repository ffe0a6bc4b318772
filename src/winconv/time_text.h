#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>
#include <string>

namespace WinConv {

/// The unit of FILETIME, 100 nanoseconds.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10000000>>;

/// Returns the time in UTC with seven decimal places for the seconds: "2025-01-31 08:15:02.4812345".
std::string utc_text(std::chrono::sys_time<Ticks> time);

} // namespace WinConv
