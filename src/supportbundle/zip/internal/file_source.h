#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <cstdint>
#include <ctime>
#include <filesystem>

namespace Zip {

using FileHandle = WinConv::Owned<HANDLE, CloseHandle>;

/// A file on its way into an archive, as long as it was when it was opened: what is appended meanwhile is left for next
/// time. Others may write to it, rename and delete it.
class FileSource {
public:
    /// Opens the file, whatever the length of its path.
    explicit FileSource(const std::filesystem::path& path);

    /// Whether it is open; only then do the others mean anything.
    bool is_open() const {
        return file_ != nullptr;
    }
    std::int64_t size() const;
    std::uint32_t attributes() const {
        return information_.dwFileAttributes;
    }
    /// Seconds since 1970.
    std::time_t modified() const;
    std::time_t accessed() const;
    std::time_t created() const;

    /// Reads the next bytes as minizip-ng's callback does: returns how many, 0 behind the last one, or MZ_READ_ERROR if
    /// the system refuses or the file has been cut meanwhile.
    std::int32_t read(void* buffer, std::int32_t size);

private:
    FileHandle file_;
    BY_HANDLE_FILE_INFORMATION information_{};
    std::int64_t left_ = 0;
};

} // namespace Zip
