#pragma once

#include "zip/zip.h"

namespace LogZipper {

/// Adds the agent's records and the application crashes of the Windows event log as one member of the archive, oldest
/// first. Memory use does not depend on the size of the log. Returns false, after logging the reason, if opening,
/// reading or writing fails. If reading fails, the member contains what was read before.
bool zip_add_corvel_syslog(Zip::Writer& writer, const Zip::Member& member);

} // namespace LogZipper
