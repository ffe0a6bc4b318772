#pragma once

#include <mz.h>
#include <mz_strm.h>
#include <mz_zip.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <span>
#include <string>

namespace LogZipper {

/// Streams the agent's and the crash records of the Windows event log into one member of the archive, oldest first, in
/// memory that does not grow with the log. Returns true at the end of the log, false, after logging why, if reading
/// or writing fails; the member then holds what was written before.
bool zip_add_corvel_syslog(void* writer, const mz_zip_file& header);

/// Appends bytes to the member that is open in the archive. Returns how many it took, or minizip-ng's negative error
/// code, which is logged.
std::int32_t write_buff_to_zip(void* writer, const char* bytes, std::int32_t length);

/// Has PowerShell write the Windows Update log and returns the update logs to collect, by member name; none if
/// PowerShell cannot be run, which is logged at Debug level only. Blocks until PowerShell ends. Throws
/// std::filesystem::filesystem_error for the operation "temp_directory_path".
std::map<std::string, std::filesystem::path> zip_generate_os_update_logs();

} // namespace LogZipper
