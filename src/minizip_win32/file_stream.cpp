// The file that minizip-ng writes an archive to, always anew.

#include "winconv/convert.h"
#include "winconv/owned.h"

#include <mz.h>
#include <mz_strm.h>
#include <mz_strm_os.h>

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace {

using FileHandle = WinConv::Owned<HANDLE, CloseHandle>;

struct FileStream : mz_stream {
    FileHandle file;
    std::int64_t position = 0;
    std::int64_t size = 0;
    DWORD error = ERROR_SUCCESS;
};

FileStream& stream_of(void* stream) {
    return *static_cast<FileStream*>(static_cast<mz_stream*>(stream));
}

// Keeps the reason of a failure for mz_stream_os_error() and returns the library's code for it.
std::int32_t failed(FileStream& stream, std::int32_t code) {
    stream.error = GetLastError();
    return code;
}

} // namespace

std::int32_t mz_stream_os_open(void* stream, const char* path, std::int32_t mode) {
    FileStream& self = stream_of(stream);
    if ((mode & MZ_OPEN_MODE_CREATE) == 0) {
        return MZ_SUPPORT_ERROR;
    }
    HANDLE file = CreateFileW(WinConv::utf8_to_native(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return failed(self, MZ_OPEN_ERROR);
    }
    self.file.reset(file);
    return MZ_OK;
}

std::int32_t mz_stream_os_is_open(void* stream) {
    return stream_of(stream).file ? MZ_OK : MZ_OPEN_ERROR;
}

std::int32_t mz_stream_os_read(void* /*stream*/, void* /*buffer*/, std::int32_t /*size*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_stream_os_write(void* stream, const void* buffer, std::int32_t size) {
    FileStream& self = stream_of(stream);
    // Saying where to write, there is no seeking that could fail.
    ULARGE_INTEGER offset{};
    offset.QuadPart = static_cast<ULONGLONG>(self.position);
    OVERLAPPED place{};
    place.Offset = offset.LowPart;
    place.OffsetHigh = offset.HighPart;
    DWORD count = 0;
    if (WriteFile(self.file.get(), buffer, static_cast<DWORD>(size), &count, &place) == 0) {
        return failed(self, MZ_WRITE_ERROR);
    }
    self.position += count;
    self.size = std::max(self.size, self.position);
    return static_cast<std::int32_t>(count);
}

std::int64_t mz_stream_os_tell(void* stream) {
    return stream_of(stream).position;
}

std::int32_t mz_stream_os_seek(void* stream, std::int64_t offset, std::int32_t origin) {
    FileStream& self = stream_of(stream);
    const std::int64_t base = origin == MZ_SEEK_SET ? 0 : origin == MZ_SEEK_CUR ? self.position : self.size;
    if (base + offset < 0) {
        return MZ_SEEK_ERROR;
    }
    self.position = base + offset;
    return MZ_OK;
}

std::int32_t mz_stream_os_close(void* stream) {
    stream_of(stream).file.reset();
    return MZ_OK;
}

std::int32_t mz_stream_os_error(void* stream) {
    return static_cast<std::int32_t>(stream_of(stream).error);
}

void* mz_stream_os_get_interface() {
    static mz_stream_vtbl operations = {
        mz_stream_os_open,
        mz_stream_os_is_open,
        mz_stream_os_read,
        mz_stream_os_write,
        mz_stream_os_tell,
        mz_stream_os_seek,
        mz_stream_os_close,
        mz_stream_os_error,
        mz_stream_os_create,
        mz_stream_os_delete,
        nullptr,
        nullptr,
    };
    return &operations;
}

namespace {

mz_stream* create_stream() {
    auto* const stream = new (std::nothrow) FileStream;
    if (stream != nullptr) {
        stream->vtbl = static_cast<mz_stream_vtbl*>(mz_stream_os_get_interface());
    }
    return stream;
}

} // namespace

// The number of version 3.0.9 is no valid one, so a constant that came with version 4 tells the two apart.
#ifdef MZ_AES_STRENGTH_128
void* mz_stream_os_create() {
    return create_stream();
}
#else
void* mz_stream_os_create(void** stream) {
    mz_stream* const created = create_stream();
    if (stream != nullptr) {
        *stream = created;
    }
    return created;
}
#endif

void mz_stream_os_delete(void** stream) {
    if (stream != nullptr && *stream != nullptr) {
        delete &stream_of(*stream);
        *stream = nullptr;
    }
}
