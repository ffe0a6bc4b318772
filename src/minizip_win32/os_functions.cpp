// minizip-ng's questions to the system. Paths are UTF-8.

#include "winconv/convert.h"

#include <mz.h>
#include <mz_os.h>

#include <windows.h>

#include <cstdint>
#include <ctime>
#include <type_traits>

std::int32_t mz_os_file_exists(const char* path) {
    const DWORD attributes = GetFileAttributesW(WinConv::utf8_to_native(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES ? MZ_OK : MZ_EXIST_ERROR;
}

std::uint64_t mz_os_ms_time() {
    return GetTickCount64();
}

// Only version 4 declares it and asks.
extern "C" std::int32_t mz_os_is_dir_separator(const char character) {
    return character == '\\' || character == '/' ? 1 : 0;
}

// What only the library's reader, its encryption and its own way to add files ask for is refused: this project writes
// plain archives into folders that are there, and opens by itself what goes into them.

std::int64_t mz_os_get_file_size(const char* /*path*/) {
    return 0;
}

std::int32_t mz_os_get_file_date(const char* /*path*/, std::time_t* /*modified_date*/, std::time_t* /*accessed_date*/,
                                 std::time_t* /*creation_date*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_get_file_attribs(const char* /*path*/, std::uint32_t* /*attributes*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_is_dir(const char* /*path*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_make_dir(const char* /*path*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_unlink(const char* /*path*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_rand(std::uint8_t* /*buffer*/, std::int32_t /*size*/) {
    return 0;
}

// Characters of one type up to version 3 and of another since.
using Utf8 = std::remove_pointer_t<decltype(mz_os_utf8_string_create(nullptr, 0))>;

Utf8* mz_os_utf8_string_create(const char* /*string*/, std::int32_t /*encoding*/) {
    return nullptr;
}

void mz_os_utf8_string_delete(Utf8** /*string*/) {}

std::int32_t mz_os_is_symlink(const char* /*path*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_make_symlink(const char* /*path*/, const char* /*target*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_read_symlink(const char* /*path*/, char* /*target*/, std::int32_t /*max_target*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_set_file_attribs(const char* /*path*/, std::uint32_t /*attributes*/) {
    return MZ_SUPPORT_ERROR;
}

std::int32_t mz_os_set_file_date(const char* /*path*/, std::time_t /*modified*/, std::time_t /*accessed*/,
                                 std::time_t /*created*/) {
    return MZ_SUPPORT_ERROR;
}

DIR* mz_os_open_dir(const char* /*path*/) {
    return nullptr;
}

dirent* mz_os_read_dir(DIR* /*folder*/) {
    return nullptr;
}

std::int32_t mz_os_close_dir(DIR* /*folder*/) {
    return MZ_SUPPORT_ERROR;
}
