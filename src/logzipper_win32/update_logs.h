#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace LogZipper {

/// Has PowerShell write the Windows Update log and returns the update logs to collect, by member name; none if
/// PowerShell cannot be run, which is logged at Debug level only. Blocks until PowerShell ends. Throws
/// std::filesystem::filesystem_error for the operation "temp_directory_path".
std::map<std::string, std::filesystem::path> zip_generate_os_update_logs();

} // namespace LogZipper
