#include "files/paths.h"

#include "files/file_system.h"
#include "files/internal/protected_folder.h"
#include "winconv/error_text.h"
#include "winconv/fatal_exception.h"
#include "winconv/owned.h"

#include <fmt/format.h>

#include <windows.h>

#include <knownfolders.h>
#include <objbase.h>
#include <shlobj.h>

#include <array>
#include <utility>

namespace Files {

namespace {

using TaskString = WinConv::Owned<wchar_t*, CoTaskMemFree>;

TaskString known_folder(const KNOWNFOLDERID& folder) {
    wchar_t* buffer = nullptr;
    const HRESULT result = SHGetKnownFolderPath(folder, 0, nullptr, &buffer);
    TaskString path(buffer);
    return SUCCEEDED(result) ? std::move(path) : nullptr;
}

} // namespace

std::filesystem::path get_config_file_path() {
    const TaskString program_data = known_folder(FOLDERID_ProgramData);
    if (!program_data) {
        throw WinConv::CorvelFatalException("Could not resolve program data directory");
    }
    return std::filesystem::path(program_data.get()) / L"corvel" / L"corvel.json";
}

std::filesystem::path get_windows_directory() {
    const TaskString windows = known_folder(FOLDERID_Windows);
    return windows ? windows.get() : L"c:\\Windows";
}

std::filesystem::path get_temp_directory(bool create) {
    std::array<wchar_t, MAX_PATH + 1> buffer{};
    const UINT length = GetWindowsDirectoryW(buffer.data(), MAX_PATH);
    // If the buffer is too small, the function stores nothing and returns the size that it needs.
    if (length == 0 || length > MAX_PATH) {
        throw WinConv::CorvelFatalException(
            fmt::format("Could not resolve Windows directory : {}", WinConv::last_error_text()));
    }
    auto folder = std::filesystem::path(buffer.data()) / L"Temp" / L"corvel";
    if (create && !path_exists(folder)) {
        if (const auto error = create_protected_folder(folder)) {
            throw std::filesystem::filesystem_error("create_directory", folder, error);
        }
    }
    return folder;
}

std::filesystem::path get_user_temp_directory() {
    constexpr auto operation = "temp_directory_path";
    std::array<wchar_t, MAX_PATH + 2> buffer{};
    if (GetTempPathW(static_cast<DWORD>(buffer.size()), buffer.data()) == 0) {
        throw std::filesystem::filesystem_error(operation, WinConv::last_error());
    }
    std::filesystem::path folder = buffer.data();
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        throw std::filesystem::filesystem_error(operation, folder, WinConv::last_error());
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        throw std::filesystem::filesystem_error(operation, folder, WinConv::windows_error(ERROR_DIRECTORY));
    }
    return folder;
}

} // namespace Files
