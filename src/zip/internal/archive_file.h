#pragma once

#include "files/file_system.h"

#include <mz_strm.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace Zip {

/// The file of an archive, as the stream that minizip-ng writes to from start to end. As C code calls it, it throws
/// nothing. Once a write has failed, every later one fails, until rewind().
class ArchiveFile : public mz_stream {
public:
    ArchiveFile();

    /// Creates the file anew, deleting whatever has its name. Returns false if the system refuses.
    bool open(const std::filesystem::path& path);
    bool is_open() const {
        return file_ != nullptr;
    }

    /// Appends bytes, by way of a buffer. Returns false if that or an earlier write failed.
    bool write(const std::byte* bytes, std::size_t size);

    /// Writes what is in the buffer. Returns false if that or an earlier write failed.
    bool flush();

    /// The number of bytes in front of the next one.
    std::int64_t position() const {
        return written_ + static_cast<std::int64_t>(buffered_);
    }

    /// Drops everything from a position on at which flush() succeeded.
    void rewind(std::int64_t position);

    /// Writes what is in the buffer and closes the file, which ends at the position. Returns false if that or an
    /// earlier write failed.
    bool close();

private:
    bool write_to_disk(const std::byte* bytes, std::size_t size);

    Files::FileHandle file_;
    std::array<std::byte, 65536> buffer_{};
    std::size_t buffered_ = 0;
    std::int64_t written_ = 0;
    std::int64_t size_ = 0; // of the file: more than was written, once something was dropped
    bool failed_ = false;
};

} // namespace Zip
