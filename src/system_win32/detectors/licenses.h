#pragma once

#include "system_win32/windows_license.h"

#include <string>
#include <vector>

namespace System {

/// Returns the family of the installed Windows licence, "Unknown" if there is none or WMI fails, which is logged.
std::string get_windows_license_edition();

/// Returns the licensing products in the order in which they are first seen, one for each pair of family and status.
/// A failure of WMI, or a status that is no number, is logged and ends the list.
std::vector<WindowsLicense> get_windows_licenses();

} // namespace System
