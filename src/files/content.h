#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace Files {

/// Returns the whole content of a file as bytes, whatever the length of its path. Throws std::system_error: "read: "
/// and the path as given, with the POSIX error.
std::string read(const std::filesystem::path& path);

/// Replaces a file so that other processes see either the old or the new content: creates "NAME._corvel_tmp" beside it
/// anew and moves that over it. `permissions` are POSIX bits, of which only "writable at all" means something here.
/// Returns no error, the POSIX error of a failed open or write, or the Windows error of a failed flush or move. On
/// failure the old file is as it was and no temporary file is left.
[[nodiscard]] std::error_code write_atomically(const std::filesystem::path& path, std::string_view bytes,
                                               int permissions);

} // namespace Files
