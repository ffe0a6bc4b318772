#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace Files {

/// Returns the contents of a file as bytes. The path may have any length. Throws std::system_error with "read: ", the
/// path as given, and the POSIX error, or the Windows error if no POSIX error corresponds to it.
std::string read(const std::filesystem::path& path);

/// Replaces a file so that other processes see either the old or the new contents: writes "NAME._corvel_tmp" in the
/// same folder and moves it to `path`. `permissions` are POSIX mode bits, of which only the presence of a write bit has
/// an effect. Returns an empty error code on success, the POSIX error if opening or writing fails, and the Windows
/// error if flushing or moving fails. On failure, the old file is unchanged and the temporary file is removed.
[[nodiscard]] std::error_code write_atomically(const std::filesystem::path& path, std::string_view bytes,
                                               int permissions);

} // namespace Files
