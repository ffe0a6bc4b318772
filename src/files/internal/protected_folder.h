#pragma once

#include <filesystem>
#include <system_error>

namespace Files {

/// Creates a folder that the system, administrators and its owner have full control of and that users may read. It
/// inherits no other access rights. Returns the Windows error on failure.
[[nodiscard]] std::error_code create_protected_folder(const std::filesystem::path& folder);

} // namespace Files
