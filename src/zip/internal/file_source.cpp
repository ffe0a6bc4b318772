#include "zip/internal/file_source.h"

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

void FileSource::open(const std::filesystem::path& path) {
    file_ = Files::open_file_to_read(path, error_);
    if (file_ && GetFileInformationByHandle(file_.get(), &information_) == 0) {
        error_ = WinConv::last_error();
        file_.reset();
    }
    left_ = wide_number(information_.nFileSizeHigh, information_.nFileSizeLow);
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

std::int32_t FileSource::read(std::span<char> buffer) {
    const auto wanted = static_cast<DWORD>(std::min(static_cast<std::int64_t>(buffer.size()), left_));
    DWORD count = 0;
    if (wanted != 0 && ReadFile(file_.get(), buffer.data(), wanted, &count, nullptr) == 0) {
        return MZ_READ_ERROR;
    }
    left_ -= count;
    return static_cast<std::int32_t>(count);
}

} // namespace Zip
