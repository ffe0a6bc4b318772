#pragma once

#include <cstdint>
#include <string>

namespace System {

/// What the name of an operating system is made from. Texts are UTF-8.
struct OsFacts {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    bool is_server = false;
    std::uint32_t product_type = 0; ///< of GetProductInfo; 0 on a workstation
    std::uint16_t machine = 0;      ///< image-file machine code of the processor
    std::string version{};          ///< such as "23H2"
    std::string service_pack{};     ///< such as "Service Pack 1"
    std::uint32_t nano_server = 0;  ///< the installation's levels as the registry has them
    std::uint32_t server_core = 0;
    std::uint32_t server_gui_shell = 0;
};

/// Asks the system. Throws CorvelFatalException if kernel32 or ntdll cannot be loaded; whatever else is missing is
/// empty or 0.
OsFacts query_os_facts();

} // namespace System
