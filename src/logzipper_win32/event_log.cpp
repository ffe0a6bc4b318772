#include "logzipper_win32/event_log.h"

#include "logger/log.h"
#include "logzipper_win32/internal/event_records.h"
#include "winconv/error_text.h"
#include "winconv/owned.h"
#include "winconv/result.h"

#include <fmt/format.h>

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace LogZipper {

using WinConv::Error;
using WinConv::Result;

namespace {

constexpr std::size_t initial_buffer_size = 128000;

using EventLogHandle = WinConv::Owned<HANDLE, CloseEventLog>;

// Reads the next records into the buffer, which is enlarged if a single record does not fit. Returns the number of
// bytes read, 0 at the end of the log.
Result<std::size_t> read_batch(HANDLE log, std::vector<std::byte>& buffer) {
    constexpr DWORD flags = EVENTLOG_SEQUENTIAL_READ | EVENTLOG_FORWARDS_READ;
    for (bool resized = false;; resized = true) {
        DWORD count = 0;
        DWORD needed = 0;
        if (ReadEventLogW(log, flags, 0, buffer.data(), static_cast<DWORD>(buffer.size()), &count, &needed) != 0) {
            return std::min<std::size_t>(count, buffer.size());
        }
        const DWORD error = GetLastError();
        if (error == ERROR_HANDLE_EOF) {
            return std::size_t{0};
        }
        if (error != ERROR_INSUFFICIENT_BUFFER) {
            return Error{fmt::format("error reading from eventlog: {}", WinConv::format_error_code(error))};
        }
        if (resized) {
            return Error{fmt::format("error: resized eventlog read buffer but failed with: {}",
                                     WinConv::format_error_code(error))};
        }
        buffer.resize(needed);
    }
}

bool write_buff_to_zip(Zip::OpenMember& member, std::string_view bytes) {
    const std::int32_t result = member.write(bytes);
    if (result != Zip::ok) {
        LOG_ERROR(Logger::main, "mz error {} writing to zip entry for syslog", Zip::mz_error_name(result));
    }
    return result == Zip::ok;
}

// Despite its name, writes the text of the log to the archive member, one batch at a time. Returns the number of bytes
// written, or std::nullopt, after logging the reason, if reading or writing fails.
std::optional<std::uint64_t> read_logs_to_buff(HANDLE log, Zip::OpenMember& member) {
    std::vector<std::byte> buffer(initial_buffer_size);
    std::string text;
    text.reserve(initial_buffer_size);
    std::uint64_t total = 0;
    for (;;) {
        const auto count = read_batch(log, buffer);
        if (!count.has_value()) {
            LOG_ERROR(Logger::main, "{}", count.error().text);
            return std::nullopt;
        }
        if (count.value() == 0) {
            return total;
        }
        if (const auto damaged = render_event_records(std::span(buffer).first(count.value()), text); damaged != 0) {
            LOG_ERROR(Logger::main, "skipped {} damaged records of eventlog", damaged);
        }
        if (!write_buff_to_zip(member, text)) {
            return std::nullopt;
        }
        total += text.size();
        text.clear();
    }
}

} // namespace

bool zip_add_corvel_syslog(Zip::Writer& writer, const Zip::Member& member) {
    const EventLogHandle log(OpenEventLogW(nullptr, L"corvel"));
    if (!log) {
        LOG_ERROR(Logger::main, "OpenEventLog failed with error: {}", WinConv::last_error_text());
        return false;
    }
    Zip::OpenMember entry(writer, member);
    if (entry.result() != Zip::ok) {
        LOG_ERROR(Logger::main, "mz error {} opening zip entry for syslog", Zip::mz_error_name(entry.result()));
        return false;
    }
    const auto total = read_logs_to_buff(log.get(), entry);
    if (!total) {
        return false;
    }
    if (const std::int32_t closed = entry.close(); closed != Zip::ok) {
        LOG_ERROR(Logger::main, "mz error {} closing zip entry for syslog", Zip::mz_error_name(closed));
        return false;
    }
    LOG_DEBUG(Logger::main, "success writing {} bytes from syslog to zip", *total);
    return true;
}

} // namespace LogZipper
