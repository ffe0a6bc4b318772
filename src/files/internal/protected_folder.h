#pragma once

#include <filesystem>
#include <system_error>

namespace Files {

/// Creates a folder that the system, administrators and its owner may write to, and that users may read; it inherits no
/// other rights. Returns the Windows error if that fails.
[[nodiscard]] std::error_code create_protected_folder(const std::filesystem::path& folder);

} // namespace Files
