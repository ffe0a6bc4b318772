#pragma once

#include "system_win32/windows_license.h"

#include <string>
#include <vector>

namespace System {

/// Returns the family of the installed Windows licence, "Unknown" if there is none or if WMI fails, which is logged.
std::string get_windows_license_edition();

/// Returns the licensing products in the order in which WMI returns them, without repeating a combination of family and
/// status. If WMI fails or a status is not a number, that is logged and the list ends there.
std::vector<WindowsLicense> get_windows_licenses();

} // namespace System
