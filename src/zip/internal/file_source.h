#pragma once

#include "files/file_system.h"
#include "winconv/error_text.h"

#include <windows.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <span>
#include <system_error>

namespace Zip {

/// A file that is copied into an archive, up to its size when it is opened. Meanwhile, other processes may write to,
/// rename or delete it.
class FileSource {
public:
    /// Opens the file; is_open() and is_absent() return the outcome.
    void open(const std::filesystem::path& path);

    /// Returns whether the file is open. The functions below require that.
    bool is_open() const {
        return file_ != nullptr;
    }
    /// Returns whether the file does not exist. Also true before open() is called.
    bool is_absent() const {
        return Files::means_not_found(error_);
    }

    /// Returns the file's Windows attributes.
    std::uint32_t attributes() const {
        return information_.dwFileAttributes;
    }
    /// Return the file's times in seconds since 1970, UTC.
    std::time_t modified() const;
    std::time_t accessed() const;
    std::time_t created() const;

    /// Reads the next bytes. Returns their number, 0 at the end (also if the file has become shorter), or MZ_READ_ERROR
    /// if reading fails.
    std::int32_t read(std::span<char> buffer);

private:
    Files::FileHandle file_;
    std::error_code error_ = WinConv::windows_error(ERROR_FILE_NOT_FOUND);
    BY_HANDLE_FILE_INFORMATION information_{};
    std::int64_t left_ = 0;
};

} // namespace Zip
