#include "system_win32/detectors/product_type.h"

#include "logger/log.h"
#include "system_win32/detectors/number.h"
#include "system_win32/internal/wmi.h"

#include <exception>
#include <string>

namespace System {

std::uint32_t detect_windows_product_type() {
    try {
        WmiRows rows(L"SELECT OperatingSystemSKU FROM Win32_OperatingSystem",
                     "Failed to determine Win32_OperatingSystem values through WBEM",
                     "Licensed operating system enumeration failed");
        if (const auto row = rows.next()) {
            return to_unsigned(get_wmi_property(*row, L"OperatingSystemSKU", ""));
        }
    } catch (const std::exception& error) {
        LOG_ERROR(Logger::main, "{}", error.what());
    }
    return 0;
}

} // namespace System
