#pragma once

#include <cstdint>

namespace System {

/// Returns the product type of Windows (OperatingSystemSKU). Returns 0 if WMI returns no row and, after logging the
/// error, if WMI fails or the value is not a number.
std::uint32_t detect_windows_product_type();

} // namespace System
