#pragma once

#include <mz.h>
#include <mz_strm.h>
#include <mz_zip.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace SupportBundle {

/// Adds members to the open archive whose writer it is given. Returns true if they were written or left out on
/// purpose, false, after logging why, if not.
using MemberProducer = std::function<bool(void* writer)>;

/// Returns the constant's name of a result code of minizip-ng in double quotes, "unknown" likewise for any other.
std::string mz_error_name(std::int32_t code);

/// Returns the header of an in-memory member: deflate, a UTF-8 name, modified at the given time (seconds since 1970).
/// `name` is kept as it is and must outlive the header.
mz_zip_file entry_header(const char* name, std::time_t modified);

/// Adds the bytes as one member and returns minizip-ng's result code.
std::int32_t zip_add_text(void* writer, mz_zip_file header, std::string_view text);

/// Adds a file, under its own name if none is given, with its attributes and times. Returns true if that worked or no
/// such file exists, false, after logging why, if not. Throws std::filesystem::filesystem_error for the operation
/// "exists" if the file's status cannot be had.
bool zip_add_file(void* writer, const std::filesystem::path& file, const std::optional<std::string>& member_name);

/// Writes an archive at `path`, replacing what is there: runs every producer in order, also behind one that failed.
/// Returns whether all succeeded. If the archive cannot be opened, no producer runs, and a hint for the user goes to
/// standard output.
bool write_zip(const std::filesystem::path& path, const std::vector<MemberProducer>& producers);

} // namespace SupportBundle
