#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The archive of a bundle, written with minizip-ng: deflate at the best level.
namespace Zip {

/// The archive that is being written.
class Writer;

/// Adds members to the archive. Returns true if they were written or left out on purpose, false, after logging why, if
/// not.
using MemberProducer = std::function<bool(Writer& writer)>;

/// An in-memory member: its name in UTF-8, which must outlive it, and its modification time.
struct Member {
    const char* name;
    std::time_t modified;
};

/// Minizip-ng's result code for success.
inline constexpr std::int32_t ok = 0;

/// Returns the constant's name of a result code of minizip-ng in double quotes, "unknown" likewise for any other.
std::string mz_error_name(std::int32_t code);

/// Adds the text as one member; `what` names it in the log. Returns false, after logging why, if that fails.
bool zip_add_text(Writer& writer, const Member& member, std::string_view text, const char* what);

/// A member that is written in pieces. Its functions return minizip-ng's result codes; one that cannot be written to
/// its end is not in the archive.
class OpenMember {
public:
    /// Begins the member; result() tells whether it is open.
    OpenMember(Writer& writer, const Member& member);
    OpenMember(const OpenMember&) = delete;
    OpenMember& operator=(const OpenMember&) = delete;

    /// Closes the member if it is open.
    ~OpenMember();

    /// The first error, if there was one.
    std::int32_t result() const {
        return result_;
    }

    /// Appends bytes. After an error, does nothing but return it.
    [[nodiscard]] std::int32_t write(std::string_view bytes);

    /// Ends the member.
    [[nodiscard]] std::int32_t close();

private:
    Writer& writer_;
    std::int32_t result_;
    bool open_;
};

/// Adds a file, under its own name if none is given, with its attributes and times. Returns true if that worked or no
/// such file exists, false, after logging why, if not. Throws std::filesystem::filesystem_error for the operation
/// "exists" if the file's status cannot be had.
bool zip_add_file(Writer& writer, const std::filesystem::path& file, const std::optional<std::string>& member_name);

/// Writes an archive at `path`, deleting what is there: runs every producer in order, also after one that failed.
/// Returns whether all succeeded and the archive could be completed; if not, that is logged. If the archive cannot be
/// created, no producer runs, and a hint for the user goes to standard output.
bool write_zip(const std::filesystem::path& path, const std::vector<MemberProducer>& producers);

} // namespace Zip
