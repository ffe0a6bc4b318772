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

/// A file that is copied into an archive, up to the size that it has when it is opened. Other processes may meanwhile
/// write to it, rename and delete it.
class FileSource {
public:
    /// Opens the file; is_open() and is_absent() tell the outcome.
    void open(const std::filesystem::path& path);

    /// Whether the file is open, which the functions below require.
    bool is_open() const {
        return file_ != nullptr;
    }
    /// Whether there is no such file, as is also assumed before open() is called.
    bool is_absent() const {
        return Files::means_not_found(error_);
    }

    std::uint32_t attributes() const {
        return information_.dwFileAttributes;
    }
    /// Seconds since 1970.
    std::time_t modified() const;
    std::time_t accessed() const;
    std::time_t created() const;

    /// Reads the next bytes. Returns how many; 0 at the end, also if the file has become shorter; MZ_READ_ERROR if the
    /// system refuses.
    std::int32_t read(std::span<char> buffer);

private:
    Files::FileHandle file_;
    std::error_code error_ = WinConv::windows_error(ERROR_FILE_NOT_FOUND);
    BY_HANDLE_FILE_INFORMATION information_{};
    std::int64_t left_ = 0;
};

} // namespace Zip
