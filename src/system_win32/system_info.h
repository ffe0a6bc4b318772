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

/// What is known about the machine. Texts are UTF-8.
struct SystemInfo {
    std::string os_name = "Windows Unknown";
    std::string hostname = "unknown";
    std::string ip_address = "Unknown ip";
    std::string up_since = "unknown";
    std::string architecture = "unknown";
    std::string license_edition = "Unknown";
    std::string product_type_text = "product_type=0";
    std::uint32_t product_type = 0;
    std::vector<WindowsLicense> licenses;
};

/// The process's one record, with its defaults until detect(). Main thread only.
SystemInfo& system_info();

/// Fills system_info() and logs each value. `webapp_addr` is the URL of the service that the agent reports to; the
/// caller holds a WindowsIpcApartment. Throws CorvelFatalException where an essential library or the host's name
/// cannot be had, or the URL is malformed; whatever else is missing has its default.
void detect(const std::string& webapp_addr);

} // namespace System
