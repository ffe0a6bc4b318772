#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <filesystem>
#include <system_error>

namespace Files {

using FileHandle = WinConv::Owned<HANDLE, CloseHandle>;

/// Opens a file for reading, whatever the length of its path, and shares it for everything. Returns null and the
/// Windows error if the system refuses.
///
/// Should the name lead to somebody's pipe, its owner may learn who the caller is, but not act as the caller.
FileHandle open_file_to_read(const std::filesystem::path& path, std::error_code& error);

/// Creates a file for writing, whatever the length of its path. What has its name is deleted first, even if it is
/// read-only: written to, it would keep its owner, its rights and its other links. `sharing` and `attributes` are those
/// of CreateFileW. Returns null and the Windows error if the system refuses, as it does if the name is still taken.
FileHandle create_file_anew(const std::filesystem::path& path, DWORD sharing, DWORD attributes, std::error_code& error);

/// Deletes a file, even if it is read-only. That it is gone is for the caller to see.
void delete_file(const std::filesystem::path& path);

/// Tells whether a Windows error means that no such file or folder exists: not found, bad network path, invalid name,
/// not a folder.
bool means_not_found(const std::error_code& error);

/// Tells whether something exists at `path`, of any length. Throws std::filesystem::filesystem_error for the operation
/// "exists" with the path as given and the Windows error if the system refuses to say.
bool path_exists(const std::filesystem::path& path);

/// Returns the path in a form that the system takes at any length, whatever the machine's policy for long paths:
/// absolute and with the "\\?\" prefix if it is long, as it stands otherwise.
std::filesystem::path extended_path(const std::filesystem::path& path);

/// Creates the folder and every missing parent. The folder itself is one that the system, administrators and its owner
/// may write to, and that users may read. Returns the Windows error of the first one that cannot be created; a folder
/// that is there already is no error and stays as it is.
[[nodiscard]] std::error_code create_directories(const std::filesystem::path& folder);

} // namespace Files
