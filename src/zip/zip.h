#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Writes zip archives with minizip-ng, using deflate at the best compression level.
namespace Zip {

/// The archive that is being written.
class Writer;

/// Adds members to the archive. Returns true if they were written or deliberately left out, otherwise false after
/// logging the reason.
using MemberProducer = std::function<bool(Writer& writer)>;

/// A member whose content is in memory: its name (UTF-8, not owned) and its modification time.
struct Member {
    const char* name;
    std::time_t modified;
};

/// The result code MZ_OK of minizip-ng.
inline constexpr std::int32_t ok = 0;

/// Returns the name of a result code of minizip-ng, or "unknown" for any other number, in double quotes.
std::string mz_error_name(std::int32_t code);

/// Adds the text as one member; `what` describes it in the log. Returns false, after logging the reason, on failure.
bool zip_add_text(Writer& writer, const Member& member, std::string_view text, const char* what);

/// A member that is written in parts. The functions return minizip-ng's result codes. A member that cannot be written
/// completely is not in the archive.
class OpenMember {
public:
    /// Starts the member; result() returns whether that succeeded.
    OpenMember(Writer& writer, const Member& member);
    OpenMember(const OpenMember&) = delete;
    OpenMember& operator=(const OpenMember&) = delete;

    /// Closes the member if it is open.
    ~OpenMember();

    /// Returns the first error, or `ok` if there was none.
    std::int32_t result() const {
        return result_;
    }

    /// Appends bytes. After an error, writes nothing and returns that error.
    [[nodiscard]] std::int32_t write(std::string_view bytes);

    /// Completes the member.
    [[nodiscard]] std::int32_t close();

private:
    Writer& writer_;
    std::int32_t result_;
    bool open_;
};

/// Adds a file with its attributes and times, named `member_name` (UTF-8) or, if that is not given, as the file.
/// Returns true if that succeeded or the file does not exist, otherwise false after logging the reason. Throws
/// std::filesystem::filesystem_error for the operation "exists" if that cannot be determined.
bool zip_add_file(Writer& writer, const std::filesystem::path& file, const std::optional<std::string>& member_name);

/// Creates an archive at `path`, deleting an existing file, and runs every producer in order, even after one has
/// failed. Returns whether all of them succeeded and the archive was completed; failures are logged. If the archive
/// cannot be created, runs no producer and prints a hint to standard output.
bool write_zip(const std::filesystem::path& path, const std::vector<MemberProducer>& producers);

} // namespace Zip
