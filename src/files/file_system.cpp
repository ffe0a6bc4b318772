#include "files/file_system.h"

#include "files/internal/protected_folder.h"
#include "winconv/error_text.h"

#include <windows.h>

#include <cstddef>
#include <string>

namespace Files {

namespace {

FileHandle open_file(const std::filesystem::path& path, DWORD access, DWORD sharing, DWORD disposition, DWORD flags,
                     std::error_code& error) {
    const std::filesystem::path extended = extended_path(path);
    HANDLE file = CreateFileW(extended.c_str(), access, sharing, nullptr, disposition, flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        error = WinConv::last_error();
        return nullptr;
    }
    error.clear();
    return FileHandle(file);
}

bool is_folder(const std::filesystem::path& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace

FileHandle open_file_to_read(const std::filesystem::path& path, std::error_code& error) {
    constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    constexpr DWORD flags = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
    return open_file(path, GENERIC_READ, sharing, OPEN_EXISTING, flags, error);
}

FileHandle create_file_anew(const std::filesystem::path& path, DWORD sharing, DWORD attributes,
                            std::error_code& error) {
    delete_file(path);
    // A link that another process creates there in the meantime is not followed.
    return open_file(path, GENERIC_WRITE, sharing, CREATE_NEW, attributes | FILE_FLAG_OPEN_REPARSE_POINT, error);
}

void delete_file(const std::filesystem::path& path) {
    const std::filesystem::path extended = extended_path(path);
    if (DeleteFileW(extended.c_str()) != 0) {
        return;
    }
    const DWORD attributes = GetFileAttributesW(extended.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        SetFileAttributesW(extended.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
        DeleteFileW(extended.c_str());
    }
}

bool means_not_found(const std::error_code& error) {
    switch (error.value()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
    case ERROR_INVALID_NAME:
    case ERROR_DIRECTORY:
        return true;
    default:
        return false;
    }
}

bool path_exists(const std::filesystem::path& path) {
    const std::filesystem::path extended = extended_path(path);
    if (GetFileAttributesW(extended.c_str()) != INVALID_FILE_ATTRIBUTES) {
        return true;
    }
    const std::error_code error = WinConv::last_error();
    if (means_not_found(error)) {
        return false;
    }
    throw std::filesystem::filesystem_error("exists", path, error);
}

std::filesystem::path extended_path(const std::filesystem::path& path) {
    // The limit for folders is lower than that for files: an 8.3 file name must fit after the folder's path.
    constexpr std::size_t longest_plain_path = MAX_PATH - 13;
    const DWORD capacity = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(capacity, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), capacity, full.data(), nullptr));
    if (full.size() < longest_plain_path || full.starts_with(LR"(\\?\)") || full.starts_with(LR"(\\.\)")) {
        return path;
    }
    return full.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + full.substr(1) : LR"(\\?\)" + full;
}

std::error_code create_directories(const std::filesystem::path& folder) {
    std::filesystem::path current;
    for (const auto& component : folder) {
        current /= component;
        // The root of a drive or share cannot be created.
        if (!current.has_relative_path() || is_folder(current)) {
            continue;
        }
        std::error_code error;
        if (current == folder) {
            error = create_protected_folder(current);
        } else if (CreateDirectoryW(current.c_str(), nullptr) == 0) {
            error = WinConv::last_error();
        }
        // Another process may have created it in the meantime.
        if (error && !is_folder(current)) {
            return error;
        }
    }
    return {};
}

} // namespace Files
