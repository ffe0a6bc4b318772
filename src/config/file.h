#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace Config {

/// Returns the whole content of a file as bytes, whatever the length of its path. Others may have it open, unless they
/// share it with nobody. Throws std::system_error: "read: " and the path as given, with the C library's error number.
std::string read(const std::filesystem::path& path);

/// Replaces a file so that other processes see either the old or the new content: writes "NAME._corvel_tmp" beside it,
/// a new file on disk whatever stood there before, and moves that over it. `permissions` are POSIX bits, of which only
/// "writable at all" means something here. Returns no error, the C library's error number of a failed open or write, or
/// the Windows error of a failed move. On failure the old file is as it was and no temporary file is left.
[[nodiscard]] std::error_code write_atomically(const std::filesystem::path& path, std::string_view bytes,
                                               int permissions);

} // namespace Config
