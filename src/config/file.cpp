#include "config/file.h"

#include "system_win32/file_system.h"
#include "winconv/convert.h"
#include "winconv/error_text.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>

namespace Config {

namespace {

constexpr std::size_t chunk_size = 4096;
constexpr std::int64_t least_reservation = 16;
constexpr int any_write_bit = 0222;

std::error_code posix_error() {
    return {errno, std::generic_category()};
}

// One file of the C library.
class File {
public:
    File(const std::filesystem::path& path, int flags, int mode = 0) {
        errno = _wsopen_s(&descriptor_, path.c_str(), flags | _O_BINARY | _O_NOINHERIT, _SH_DENYNO, mode);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        close();
    }

    explicit operator bool() const {
        return descriptor_ >= 0;
    }
    int descriptor() const {
        return descriptor_;
    }

    // Returns what closing said, once.
    std::error_code close() {
        if (descriptor_ < 0) {
            return {};
        }
        const int result = _close(descriptor_);
        descriptor_ = -1;
        return result == 0 ? std::error_code() : posix_error();
    }

private:
    int descriptor_ = -1;
};

bool is_worth_retrying(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

std::error_code write_all(const File& file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto length = static_cast<unsigned>(std::min<std::size_t>(bytes.size(), INT_MAX));
        const int written = _write(file.descriptor(), bytes.data(), length);
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (!is_worth_retrying(errno)) {
            return posix_error();
        }
    }
    return {};
}

std::error_code write_file(const std::filesystem::path& path, std::string_view bytes, int permissions) {
    const int mode = (permissions & any_write_bit) != 0 ? _S_IREAD | _S_IWRITE : _S_IREAD;
    // A file that somebody left or put there would keep its owner, its rights and its other links.
    DeleteFileW(path.c_str());
    File file(path, _O_WRONLY | _O_CREAT | _O_EXCL, mode);
    if (!file) {
        return posix_error();
    }
    std::error_code error = write_all(file, bytes);
    if (!error && _commit(file.descriptor()) != 0) {
        error = posix_error();
    }
    // Closed before it is deleted or moved: this system does neither to an open file.
    const std::error_code close_error = file.close();
    if (!error) {
        error = close_error;
    }
    if (error) {
        DeleteFileW(path.c_str());
    }
    return error;
}

[[noreturn]] void throw_read_error(const std::filesystem::path& path) {
    const std::error_code error = posix_error();
    throw std::system_error(error, "read: " + WinConv::native_to_utf8(path.native()));
}

} // namespace

std::string read(const std::filesystem::path& path) {
    const File file(System::extended_path(path), _O_RDONLY);
    if (!file) {
        throw_read_error(path);
    }
    std::string content;
    if (const std::int64_t size = _filelengthi64(file.descriptor()); size >= least_reservation) {
        content.reserve(static_cast<std::size_t>(size));
    }
    std::array<char, chunk_size> chunk{};
    for (;;) {
        const int count = _read(file.descriptor(), chunk.data(), static_cast<unsigned>(chunk.size()));
        if (count < 0) {
            throw_read_error(path);
        }
        if (count == 0) {
            return content;
        }
        content.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

std::error_code write_atomically(const std::filesystem::path& path, std::string_view bytes, int permissions) {
    std::filesystem::path temporary = path;
    temporary += L"._corvel_tmp";
    if (const std::error_code error = write_file(temporary, bytes, permissions)) {
        return error;
    }
    if (MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED) == 0) {
        const std::error_code error = WinConv::last_error();
        DeleteFileW(temporary.c_str());
        return error;
    }
    return {};
}

} // namespace Config
