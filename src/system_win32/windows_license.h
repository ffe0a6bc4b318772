#pragma once

#include <cstdint>
#include <optional>
#include <string>

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

} // namespace System
