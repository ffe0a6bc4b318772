#pragma once

#include <string>

namespace System {

/// Returns the time of the last restart in UTC, for example "2025-01-31 08:15:02.4812345", and logs it.
std::string detect_up_since();

} // namespace System
