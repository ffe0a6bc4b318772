#pragma once

#include "system_win32/windows_license.h"

#include <cstdint>
#include <string>
#include <vector>

namespace System {

/// What is known about the machine. Strings are UTF-8.
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

/// Returns the record of the process, which has its initial values until detect() is called. Main thread only.
SystemInfo& system_info();

/// Fills system_info() and logs each value. `webapp_addr` is the URL of the web application that the agent reports to.
/// The caller must hold a WindowsIpcApartment. Throws CorvelFatalException if an essential library, Winsock or the host
/// name is not available, or if the URL is malformed; values that have not been detected by then keep their initial
/// values.
void detect(const std::string& webapp_addr);

} // namespace System
