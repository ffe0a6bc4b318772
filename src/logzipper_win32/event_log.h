#pragma once

#include "supportbundle/zip/zip.h"

#include <cstdint>

namespace LogZipper {

/// Streams the agent's and the crash records of the Windows event log into one member of the archive, oldest first, in
/// memory that does not grow with the log. Returns true at the end of the log, false, after logging why, if reading
/// or writing fails; the member then holds what was written before.
bool zip_add_corvel_syslog(void* writer, const Zip::Member& member);

/// Appends bytes to the member that is open in the archive. Returns how many it took, or minizip-ng's negative error
/// code, which is logged.
std::int32_t write_buff_to_zip(void* writer, const char* bytes, std::int32_t length);

} // namespace LogZipper
