#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace LogZipper {

/// Despite its name, adds nothing to an archive: runs PowerShell's Get-WindowsUpdateLog and returns the paths of the
/// update logs to collect, by member name. Returns an empty map, after logging the reason at Debug level, if PowerShell
/// cannot be started or waited for. Blocks until PowerShell ends and does not check whether it succeeded. Throws
/// std::filesystem::filesystem_error for the operation "temp_directory_path".
std::map<std::string, std::filesystem::path> zip_generate_os_update_logs();

} // namespace LogZipper
