#pragma once

#include <filesystem>
#include <system_error>

namespace System {

/// Tells whether something stands at `path`, of any length. The system's answers of the not-found kind (no such file or
/// folder, bad network path, invalid name, not a folder) mean no. Throws std::filesystem::filesystem_error for the
/// operation "exists" with the path as given and the Windows error on any other failure.
bool path_exists(const std::filesystem::path& path);

/// Returns the path in a form that the system takes at any length, whatever the machine's policy for long paths:
/// absolute and with the "\\?\" prefix if it is long, as it stands otherwise.
std::filesystem::path extended_path(const std::filesystem::path& path);

/// Creates a folder that the system, administrators and its owner may write to, and that users may read; it inherits no
/// other rights. Returns the Windows error if that fails.
[[nodiscard]] std::error_code create_protected_folder(const std::filesystem::path& folder);

/// Creates the folder, protected as above, and every missing parent. Returns the Windows error of the first one that
/// cannot be created; a folder that is there already is no error and stays as it is.
[[nodiscard]] std::error_code create_directories(const std::filesystem::path& folder);

} // namespace System
