#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <filesystem>
#include <system_error>

namespace Files {

using FileHandle = WinConv::Owned<HANDLE, CloseHandle>;

/// Opens a file for reading and shares it for reading, writing and deletion. The path may have any length. On failure,
/// returns null and sets `error` to the Windows error.
///
/// If the path leads to a named pipe, its server can identify the caller but not impersonate it.
FileHandle open_file_to_read(const std::filesystem::path& path, std::error_code& error);

/// Creates a file for writing. The path may have any length. An existing file is deleted first, even if it is
/// read-only: overwriting it would keep its owner, its access rights and its other hard links. `sharing` and
/// `attributes` are those of CreateFileW. On failure, which includes that the path still exists, returns null and sets
/// `error` to the Windows error.
FileHandle create_file_anew(const std::filesystem::path& path, DWORD sharing, DWORD attributes, std::error_code& error);

/// Deletes a file, even if it is read-only. Errors are not reported.
void delete_file(const std::filesystem::path& path);

/// Returns whether a Windows error means that the file or folder does not exist: file or path not found, bad network
/// path, invalid name, not a folder.
bool means_not_found(const std::error_code& error);

/// Returns whether a file or folder exists at `path`, which may have any length. Throws
/// std::filesystem::filesystem_error (operation "exists", the path as given, the Windows error) if that cannot be
/// determined.
bool path_exists(const std::filesystem::path& path);

/// Returns the path in a form that the system accepts at any length, whatever the machine's policy for long paths:
/// absolute and with the "\\?\" prefix if it is long, otherwise unchanged.
std::filesystem::path extended_path(const std::filesystem::path& path);

/// Creates the folder and its missing parents. The system, administrators and its owner have full control of the folder
/// itself, and users may read it. Returns the Windows error of the first folder that cannot be created. A folder that
/// exists already is not an error and is left unchanged.
[[nodiscard]] std::error_code create_directories(const std::filesystem::path& folder);

} // namespace Files
