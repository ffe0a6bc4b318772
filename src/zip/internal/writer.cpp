#include "zip/internal/writer.h"

#include <mz.h>
#include <mz_strm_mem.h>

#include <algorithm>
#include <climits>
#include <cstddef>

namespace Zip {

namespace {

constexpr std::uint16_t made_by_ntfs_4_5 = 0x0A2D;
constexpr std::uint16_t utf8_name_flag = 0x0800;
constexpr std::uint16_t deflate = 8;
constexpr std::int16_t best_level = 9;

// Up to version 3, minizip-ng's creation functions have an output parameter; later ones have no parameter.
[[maybe_unused]] void* call(void* (*create)(void** created)) {
    void* created = nullptr;
    return create(&created);
}
[[maybe_unused]] void* call(void* (*create)()) {
    return create();
}

} // namespace

Writer::Writer() : zip_(call(mz_zip_create)) {}

std::int32_t Writer::open(const std::filesystem::path& path) {
    if (!file_.open(path)) {
        return MZ_OPEN_ERROR;
    }
    const std::int32_t result = mz_zip_open(zip_.get(), &file_, MZ_OPEN_MODE_WRITE | MZ_OPEN_MODE_CREATE);
    mz_zip_set_version_madeby(zip_.get(), made_by_ntfs_4_5);
    mz_zip_get_cd_mem_stream(zip_.get(), &directory_);
    return result;
}

std::int32_t Writer::open_member(mz_zip_file header) {
    header.version_madeby = made_by_ntfs_4_5;
    header.flag = utf8_name_flag;
    header.compression_method = deflate;
    end_.position = file_.position();
    mz_stream_mem_get_buffer_length(directory_, &end_.directory_size);
    mz_zip_get_number_entry(zip_.get(), &end_.members);
    const std::int32_t result = mz_zip_entry_write_open(zip_.get(), &header, best_level, 0, nullptr);
    return result == MZ_OK ? MZ_OK : drop_member(result);
}

std::int32_t Writer::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto length = static_cast<std::int32_t>(std::min<std::size_t>(bytes.size(), INT_MAX));
        const std::int32_t result = mz_zip_entry_write(zip_.get(), bytes.data(), length);
        if (result < 0) {
            return drop_member(result);
        }
        bytes.remove_prefix(static_cast<std::size_t>(result));
    }
    return MZ_OK;
}

std::int32_t Writer::close_member() {
    const std::int32_t result = mz_zip_entry_close(zip_.get());
    if (result != MZ_OK) {
        return drop_member(result);
    }
    // minizip-ng ignores an error in writing the last output of the compressor.
    return file_.flush() ? MZ_OK : drop_member(MZ_WRITE_ERROR);
}

std::int32_t Writer::drop_member(std::int32_t reason) {
    // Closed before this function returns: closing makes the compressor read the caller's bytes once more.
    mz_zip_entry_close(zip_.get());
    mz_stream_mem_set_buffer_limit(directory_, end_.directory_size);
    mz_stream_mem_seek(directory_, end_.directory_size, MZ_SEEK_SET);
    mz_zip_set_number_entry(zip_.get(), end_.members);
    file_.rewind(end_.position);
    return reason;
}

std::int32_t Writer::close() {
    void* zip = zip_.release();
    const std::int32_t result = mz_zip_close(zip);
    mz_zip_delete(&zip);
    const bool closed = file_.close();
    return result != MZ_OK || closed ? result : MZ_WRITE_ERROR;
}

} // namespace Zip
