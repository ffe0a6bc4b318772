#pragma once

#include "zip/zip.h"

namespace LogZipper {

/// Streams the agent's and the crash records of the Windows event log into one member of the archive, oldest first, in
/// memory that does not grow with the log. Returns true at the end of the log; false, after logging why, if reading or
/// writing fails. If reading fails, the member holds what was read before.
bool zip_add_corvel_syslog(Zip::Writer& writer, const Zip::Member& member);

} // namespace LogZipper
