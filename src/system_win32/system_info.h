#pragma once

#include "system_win32/windows_license.h"

#include <cstdint>
#include <string>
#include <vector>

namespace System {

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
