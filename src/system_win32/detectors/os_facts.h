#pragma once

#include <cstdint>
#include <string>

namespace System {

/// The facts that the operating system's name is derived from. Strings are UTF-8.
struct OsFacts {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    bool is_server = false;
    std::uint32_t product_type = 0; ///< from GetProductInfo; 0 on a workstation
    std::uint16_t machine = 0;      ///< IMAGE_FILE_MACHINE_ constant of the native architecture
    std::string version{};          ///< for example "23H2"
    std::string service_pack{};     ///< for example "Service Pack 1"
    std::uint32_t nano_server = 0;  ///< this and the next two: server levels from the registry
    std::uint32_t server_core = 0;
    std::uint32_t server_gui_shell = 0;
};

/// Queries the system. Throws CorvelFatalException if kernel32 or ntdll cannot be loaded; any other fact that is not
/// available is empty or 0.
OsFacts query_os_facts();

} // namespace System
