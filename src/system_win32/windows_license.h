#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace System {

/// A licensing product of Windows, a row of SoftwareLicensingProduct. Strings are UTF-8.
struct WindowsLicense {
    std::string type = "license";
    std::optional<std::string> value; ///< the product's name
    std::optional<std::string> name;  ///< not set by detection
    std::optional<std::string> family;
    std::optional<std::string> appid;
    std::optional<std::int32_t> status; ///< one of the documented codes, 0 to 6
};

} // namespace System
