#pragma once

#include "winconv/owned.h"
#include "zip/internal/archive_file.h"

#include <mz_zip.h>

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace Zip {

/// An archive that is being written: minizip-ng's handle and the file behind it. Its functions return minizip-ng's
/// result codes.
///
/// A member that cannot be written to its end is dropped: the archive stays sound, and the next member may still fit.
class Writer {
public:
    Writer();

    /// Creates the archive. Call it once, before the other functions.
    std::int32_t open(const std::filesystem::path& path);

    /// Begins a member with the name, times and attributes of the header; the one before has to be closed.
    std::int32_t open_member(mz_zip_file header);

    /// Appends bytes to the open member. If that fails, the member is dropped and no longer open.
    std::int32_t write(std::string_view bytes);

    /// Ends the open member.
    std::int32_t close_member();

    /// Writes the archive's directory and closes the file.
    std::int32_t close();

private:
    std::int32_t drop_member(std::int32_t reason);

    static void delete_zip(void* zip) noexcept {
        mz_zip_close(zip);
        mz_zip_delete(&zip);
    }

    // The end of the archive when the last member was begun.
    struct End {
        std::int64_t position = 0;
        std::int32_t directory_size = 0;
        std::uint64_t members = 0;
    };

    ArchiveFile file_;
    WinConv::Owned<void*, delete_zip> zip_;
    void* directory_ = nullptr; // the stream in which minizip-ng collects it
    End end_;
};

} // namespace Zip
