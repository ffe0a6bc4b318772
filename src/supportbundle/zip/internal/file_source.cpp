#include "supportbundle/zip/internal/file_source.h"

#include "system_win32/file_system.h"

#include <mz.h>

#include <algorithm>

namespace Zip {

namespace {

std::int64_t wide_number(DWORD high, DWORD low) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(high) << 32U | low);
}

std::time_t unix_time(FILETIME time) {
    constexpr std::int64_t ticks_per_second = 10000000;
    constexpr std::int64_t seconds_from_1601_to_1970 = 11644473600;
    return wide_number(time.dwHighDateTime, time.dwLowDateTime) / ticks_per_second - seconds_from_1601_to_1970;
}

} // namespace

FileSource::FileSource(const std::filesystem::path& path) {
    constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE file =
        CreateFileW(System::extended_path(path).c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return;
    }
    file_.reset(file);
    if (GetFileInformationByHandle(file, &information_) == 0) {
        file_.reset();
        return;
    }
    left_ = size();
}

std::int64_t FileSource::size() const {
    return wide_number(information_.nFileSizeHigh, information_.nFileSizeLow);
}

std::time_t FileSource::modified() const {
    return unix_time(information_.ftLastWriteTime);
}

std::time_t FileSource::accessed() const {
    return unix_time(information_.ftLastAccessTime);
}

std::time_t FileSource::created() const {
    return unix_time(information_.ftCreationTime);
}

std::int32_t FileSource::read(void* buffer, std::int32_t size) {
    const auto wanted = static_cast<DWORD>(std::min<std::int64_t>(size, left_));
    if (wanted == 0) {
        return 0;
    }
    DWORD count = 0;
    if (ReadFile(file_.get(), buffer, wanted, &count, nullptr) == 0 || count == 0) {
        return MZ_READ_ERROR;
    }
    left_ -= count;
    return static_cast<std::int32_t>(count);
}

} // namespace Zip
