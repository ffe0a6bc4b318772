#pragma once

#include "files/file_system.h"

#include <mz_strm.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace Zip {

/// The file of an archive, as the stream that minizip-ng writes to from start to end. Its functions are called from C
/// code and do not throw. After a failed write, every further write fails until rewind() is called.
class ArchiveFile : public mz_stream {
public:
    ArchiveFile();

    /// Creates the file; an existing one is deleted first. Returns false on failure.
    bool open(const std::filesystem::path& path);
    bool is_open() const {
        return file_ != nullptr;
    }

    /// Appends bytes through a buffer. Returns false if this or an earlier write failed.
    bool write(const std::byte* bytes, std::size_t size);

    /// Writes the buffer to disk. Returns false if this or an earlier write failed.
    bool flush();

    /// Returns the offset at which the next byte will be written.
    std::int64_t position() const {
        return written_ + static_cast<std::int64_t>(buffered_);
    }

    /// Discards everything from `position` on. flush() must have succeeded at that position.
    void rewind(std::int64_t position);

    /// Writes the buffer to disk, truncates the file at the current position and closes it. Returns false if this or an
    /// earlier write failed.
    bool close();

private:
    bool write_to_disk(const std::byte* bytes, std::size_t size);

    Files::FileHandle file_;
    std::array<std::byte, 65536> buffer_{};
    std::size_t buffered_ = 0;
    std::int64_t written_ = 0;
    std::int64_t size_ = 0; // of the file on disk; exceeds written_ after rewind()
    bool failed_ = false;
};

} // namespace Zip
