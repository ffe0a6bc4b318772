#include "zip/internal/archive_file.h"

#include <mz.h>

#include <windows.h>

#include <algorithm>
#include <system_error>

namespace Zip {

namespace {

ArchiveFile& file_of(void* stream) {
    return *static_cast<ArchiveFile*>(static_cast<mz_stream*>(stream));
}

// The only operations that minizip-ng calls while it writes an archive.
mz_stream_vtbl make_operations() {
    mz_stream_vtbl operations{};
    operations.is_open = [](void* stream) noexcept -> std::int32_t {
        return file_of(stream).is_open() ? MZ_OK : MZ_OPEN_ERROR;
    };
    operations.write = [](void* stream, const void* bytes, std::int32_t size) noexcept -> std::int32_t {
        const bool written =
            file_of(stream).write(static_cast<const std::byte*>(bytes), static_cast<std::size_t>(size));
        return written ? size : MZ_WRITE_ERROR;
    };
    operations.tell = [](void* stream) noexcept { return file_of(stream).position(); };
    return operations;
}

} // namespace

ArchiveFile::ArchiveFile() : mz_stream{} {
    static mz_stream_vtbl operations = make_operations();
    vtbl = &operations;
}

bool ArchiveFile::open(const std::filesystem::path& path) {
    std::error_code error;
    file_ = Files::create_file_anew(path, FILE_SHARE_READ, FILE_ATTRIBUTE_NORMAL, error);
    return is_open();
}

bool ArchiveFile::write(const std::byte* bytes, std::size_t size) {
    if (size > buffer_.size() - buffered_ && !flush()) {
        return false;
    }
    if (size > buffer_.size()) {
        return write_to_disk(bytes, size);
    }
    std::copy_n(bytes, size, buffer_.data() + buffered_);
    buffered_ += size;
    return !failed_;
}

bool ArchiveFile::flush() {
    const bool written = write_to_disk(buffer_.data(), buffered_);
    buffered_ = 0;
    return written;
}

bool ArchiveFile::write_to_disk(const std::byte* bytes, std::size_t size) {
    if (failed_ || size == 0) {
        return !failed_;
    }
    // An explicit offset makes a seek, which could fail, unnecessary.
    ULARGE_INTEGER offset{};
    offset.QuadPart = static_cast<ULONGLONG>(written_);
    OVERLAPPED place{};
    place.Offset = offset.LowPart;
    place.OffsetHigh = offset.HighPart;
    DWORD count = 0;
    failed_ = WriteFile(file_.get(), bytes, static_cast<DWORD>(size), &count, &place) == 0 || count != size;
    written_ += count;
    size_ = std::max(size_, written_);
    return !failed_;
}

void ArchiveFile::rewind(std::int64_t position) {
    buffered_ = 0;
    written_ = position;
    failed_ = false;
}

bool ArchiveFile::close() {
    bool good = flush();
    if (good && size_ > written_) {
        FILE_END_OF_FILE_INFO end{};
        end.EndOfFile.QuadPart = written_;
        good = SetFileInformationByHandle(file_.get(), FileEndOfFileInfo, &end, sizeof end) != 0;
    }
    file_.reset();
    return good;
}

} // namespace Zip
