#pragma once

#include "winconv/owned.h"
#include "zip/internal/archive_file.h"

#include <mz_zip.h>

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace Zip {

/// An archive that is being written: minizip-ng's handle and the file. The functions return minizip-ng's result codes.
///
/// A member that cannot be written completely is removed again. The archive stays valid, and further members can be
/// added.
class Writer {
public:
    Writer();

    /// Creates the archive. Call it once, before the other functions.
    std::int32_t open(const std::filesystem::path& path);

    /// Starts a member with the name, times and attributes of the header. The previous member must be closed.
    std::int32_t open_member(mz_zip_file header);

    /// Appends bytes to the open member. If that fails, the member is removed and no longer open.
    std::int32_t write(std::string_view bytes);

    /// Completes the open member. If that fails, the member is removed.
    std::int32_t close_member();

    /// Writes the central directory and closes the file.
    std::int32_t close();

private:
    std::int32_t drop_member(std::int32_t reason);

    static void delete_zip(void* zip) noexcept {
        mz_zip_close(zip);
        mz_zip_delete(&zip);
    }

    // The end of the archive before the last member was started.
    struct End {
        std::int64_t position = 0;
        std::int32_t directory_size = 0;
        std::uint64_t members = 0;
    };

    ArchiveFile file_;
    WinConv::Owned<void*, delete_zip> zip_;
    void* directory_ = nullptr; // minizip-ng's memory stream of the central directory, owned by zip_
    End end_;
};

} // namespace Zip
