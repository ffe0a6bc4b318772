#pragma once

namespace SupportBundle {

/// Writes "corvel-support-bundle_<UTC time>.zip" with everything that support needs into the current folder and says
/// on standard output where it is and whether all went well, which is also what it returns. With `exclude_wu`, the
/// Windows Update logs are left out. Throws std::filesystem::filesystem_error if a folder cannot be scanned, and
/// CorvelFatalException where the well-known paths do.
bool create_support_bundle(bool exclude_wu);

} // namespace SupportBundle
