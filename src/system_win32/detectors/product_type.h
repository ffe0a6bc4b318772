#pragma once

#include <cstdint>

namespace System {

/// Returns the number of Windows' product type; 0 if there is none, and if WMI fails or the type is no number, which
/// is logged.
std::uint32_t detect_windows_product_type();

} // namespace System
