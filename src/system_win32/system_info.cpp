#include "system_win32/system_info.h"

#include "logger/log.h"
#include "system_win32/detectors/architecture.h"
#include "system_win32/detectors/licenses.h"
#include "system_win32/detectors/network.h"
#include "system_win32/detectors/os_name.h"
#include "system_win32/detectors/product_type.h"
#include "system_win32/detectors/uptime.h"

#include <fmt/format.h>

namespace System {

SystemInfo& system_info() {
    static SystemInfo info;
    return info;
}

void detect(const std::string& webapp_addr) {
    SystemInfo& info = system_info();
    info.os_name = detect_os_name();
    LOG_INFO(Logger::main, "Operating system: {}", info.os_name);
    info.product_type = detect_windows_product_type();
    info.product_type_text = fmt::format("product_type={}", info.product_type);
    LOG_INFO(Logger::main, "Windows Product: {:#x}", info.product_type);
    info.license_edition = get_windows_license_edition();
    LOG_INFO(Logger::main, "Windows license edition: {}", info.license_edition);
    info.licenses = get_windows_licenses();
    LOG_INFO(Logger::main, "{} Windows licenses found", info.licenses.size());
    const SocketLibrary sockets;
    info.hostname = detect_hostname(sockets);
    LOG_INFO(Logger::main, "System hostname: {}", info.hostname);
    info.ip_address = detect_ip_address(sockets, webapp_addr);
    LOG_INFO(Logger::main, "System IP address: {}", info.ip_address);
    info.up_since = detect_up_since();
    info.architecture = detect_native_arch();
}

} // namespace System
