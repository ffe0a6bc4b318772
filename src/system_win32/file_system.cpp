#include "system_win32/file_system.h"

#include "winconv/error_text.h"

#include <windows.h>

#include <cstddef>
#include <string>

namespace System {

namespace {

bool means_not_found(DWORD error) {
    switch (error) {
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

bool is_folder(const std::filesystem::path& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace

bool path_exists(const std::filesystem::path& path) {
    if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
        return true;
    }
    const std::error_code error = WinConv::last_error();
    if (means_not_found(static_cast<DWORD>(error.value()))) {
        return false;
    }
    throw std::filesystem::filesystem_error("exists", path, error);
}

std::filesystem::path extended_path(const std::filesystem::path& path) {
    // Folders have the stricter limit: a short file name must fit behind them.
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
        // A root has no name to create: the drive, the share.
        if (!current.has_relative_path() || is_folder(current) || CreateDirectoryW(current.c_str(), nullptr) != 0) {
            continue;
        }
        const std::error_code error = WinConv::last_error();
        // Someone else may have created it in the meantime.
        if (!is_folder(current)) {
            return error;
        }
    }
    return {};
}

} // namespace System
