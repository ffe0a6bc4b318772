#pragma once

namespace SupportBundle {

/// Creates "corvel-support-bundle_<UTC time>.zip" in the current folder and prints its path and the outcome to standard
/// output. Returns whether everything was collected and written. With `exclude_wu`, leaves out the Windows Update logs.
/// Throws std::filesystem::filesystem_error if a folder cannot be read, and what the functions of files/paths.h throw.
bool create_support_bundle(bool exclude_wu);

} // namespace SupportBundle
