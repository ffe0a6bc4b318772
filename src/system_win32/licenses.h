#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace System {

/// One licensing product that Windows knows of. Texts are UTF-8.
struct WindowsLicense {
    std::string type = "license";
    std::optional<std::string> value; ///< the product's name
    std::optional<std::string> name;  ///< not filled by detection
    std::optional<std::string> family;
    std::optional<std::string> appid;
    std::optional<std::int32_t> status; ///< a documented code, 6 at most
};

/// Returns the family of the installed Windows licence, "Unknown" if there is none or WMI fails, which is logged.
std::string get_windows_license_edition();

/// Returns the licensing products in the order in which they are first seen, one for each pair of family and status.
/// A failure of WMI, or a status that is no number, is logged and ends the list.
std::vector<WindowsLicense> get_windows_licenses();

/// Returns the number of Windows' product type; 0 if there is none, and if WMI fails or the type is no number, which
/// is logged.
std::uint32_t detect_windows_product_type();

} // namespace System
