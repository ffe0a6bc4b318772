#include "files/content.h"

#include "files/file_system.h"
#include "winconv/convert.h"
#include "winconv/error_text.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>

namespace Files {

namespace {

constexpr std::size_t chunk_size = 4096;
constexpr LONGLONG least_reservation = 16;
constexpr int any_write_bit = 0222;

// Maps a Windows error to the corresponding POSIX error. Returns it unchanged if there is none.
std::error_code posix_error(const std::error_code& error) {
    const std::error_condition condition = error.default_error_condition();
    return condition.category() == std::generic_category() ? std::error_code(condition.value(), condition.category())
                                                           : error;
}

bool is_worth_retrying(const std::error_code& error) {
    return error == std::errc::resource_unavailable_try_again || error == std::errc::operation_would_block ||
           error == std::errc::interrupted;
}

std::error_code write_all(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto length = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), INT_MAX));
        DWORD written = 0;
        if (WriteFile(file, bytes.data(), length, &written, nullptr) != 0) {
            bytes.remove_prefix(written);
        } else if (const std::error_code error = posix_error(WinConv::last_error()); !is_worth_retrying(error)) {
            return error;
        }
    }
    return {};
}

std::error_code write_file(const std::filesystem::path& path, std::string_view bytes, int permissions) {
    const DWORD attributes = (permissions & any_write_bit) != 0 ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
    std::error_code error;
    FileHandle file = create_file_anew(path, FILE_SHARE_READ | FILE_SHARE_WRITE, attributes, error);
    if (!file) {
        return posix_error(error);
    }
    error = write_all(file.get(), bytes);
    if (!error && FlushFileBuffers(file.get()) == 0) {
        error = WinConv::last_error();
    }
    // The file is not shared for deletion, so it must be closed before it is deleted or moved.
    file.reset();
    if (error) {
        delete_file(path);
    }
    return error;
}

[[noreturn]] void throw_read_error(const std::filesystem::path& path, const std::error_code& error) {
    throw std::system_error(posix_error(error), "read: " + WinConv::native_to_utf8(path.native()));
}

} // namespace

std::string read(const std::filesystem::path& path) {
    std::error_code error;
    const FileHandle file = open_file_to_read(path, error);
    if (!file) {
        throw_read_error(path, error);
    }
    std::string content;
    if (LARGE_INTEGER size{}; GetFileSizeEx(file.get(), &size) != 0 && size.QuadPart >= least_reservation) {
        content.reserve(static_cast<std::size_t>(size.QuadPart));
    }
    std::array<char, chunk_size> chunk{};
    for (;;) {
        DWORD count = 0;
        if (ReadFile(file.get(), chunk.data(), static_cast<DWORD>(chunk.size()), &count, nullptr) == 0) {
            throw_read_error(path, WinConv::last_error());
        }
        if (count == 0) {
            return content;
        }
        content.append(chunk.data(), count);
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
        delete_file(temporary);
        return error;
    }
    return {};
}

} // namespace Files
