#include "logzipper_win32/internal/event_records.h"

#include "winconv/convert.h"
#include "winconv/time_text.h"

#include <fmt/format.h>

#include <windows.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>

namespace LogZipper {

namespace {

constexpr std::wstring_view agent_source = L"corvel";
constexpr std::wstring_view crash_source = L"Application Error";

constexpr std::size_t crash_string_count = 12;
constexpr auto crash_template = FMT_STRING("Faulting application name: {}, version: {}, time stamp: 0x{}\n"
                                           "Faulting module name: {}, version: {}, time stamp: 0x{}\n"
                                           "Exception code: 0x{}\n"
                                           "Fault offset: 0x{}\n"
                                           "Faulting process id: 0x{}\n"
                                           "Faulting application start time: 0x{}\n"
                                           "Faulting application path: {}\n"
                                           "Faulting module path: {}\n");

using Bytes = std::span<const std::byte>;

const char* event_type_line(WORD type) {
    switch (type) {
    case EVENTLOG_ERROR_TYPE:
        return "Error\n";
    case EVENTLOG_WARNING_TYPE:
        return "Warning\n";
    case EVENTLOG_INFORMATION_TYPE:
        return "Informational\n";
    case EVENTLOG_AUDIT_SUCCESS:
        return "Audit Success\n";
    case EVENTLOG_AUDIT_FAILURE:
        return "Audit Failure\n";
    default:
        return "unknown\n";
    }
}

// Returns the null-terminated string at the offset, or std::nullopt if the record ends before the terminator.
std::optional<std::wstring_view> string_at(Bytes record, std::size_t offset) {
    if (offset > record.size() || offset % sizeof(wchar_t) != 0) {
        return std::nullopt;
    }
    // Records are aligned to four bytes and the offset is even.
    const auto* const start = reinterpret_cast<const wchar_t*>(record.data() + offset);
    const std::wstring_view rest(start, (record.size() - offset) / sizeof(wchar_t));
    const auto end = rest.find(L'\0');
    return end == std::wstring_view::npos ? std::nullopt : std::optional(rest.substr(0, end));
}

void append_head(const EVENTLOGRECORD& header, std::string& text) {
    const std::chrono::sys_time<WinConv::Ticks> time(std::chrono::seconds(header.TimeGenerated));
    fmt::format_to(std::back_inserter(text), "{}\n{}\n", WinConv::utc_text(time), header.RecordNumber);
}

bool append_agent_record(const EVENTLOGRECORD& header, Bytes record, std::string& text) {
    std::wstring_view message;
    if (header.NumStrings > 0) {
        const auto first = string_at(record, header.StringOffset);
        if (!first) {
            return false;
        }
        message = *first;
    }
    append_head(header, text);
    text += event_type_line(header.EventType);
    text += WinConv::native_to_utf8(message);
    text += '\n';
    return true;
}

bool append_crash_record(const EVENTLOGRECORD& header, Bytes record, std::string& text) {
    std::array<std::string, crash_string_count> strings;
    std::size_t offset = header.StringOffset;
    for (std::string& string : std::span(strings).first(std::min<std::size_t>(header.NumStrings, strings.size()))) {
        const auto native = string_at(record, offset);
        if (!native) {
            return false;
        }
        string = WinConv::native_to_utf8(*native);
        offset += (native->size() + 1) * sizeof(wchar_t);
    }
    append_head(header, text);
    text += "Application Crash\n";
    const auto& s = strings;
    fmt::format_to(std::back_inserter(text), crash_template, s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8], s[9],
                   s[10], s[11]);
    return true;
}

// Appends the text of one record if it is the agent's or an application crash. Returns false if the record is damaged.
bool append_record(const EVENTLOGRECORD& header, Bytes record, std::string& text) {
    const auto source = string_at(record, sizeof(EVENTLOGRECORD));
    if (!source) {
        return false;
    }
    if (*source == agent_source) {
        return append_agent_record(header, record, text);
    }
    if (*source == crash_source && header.EventType == EVENTLOG_ERROR_TYPE) {
        return append_crash_record(header, record, text);
    }
    return true;
}

} // namespace

std::size_t render_event_records(std::span<const std::byte> batch, std::string& text) {
    std::size_t damaged = 0;
    while (!batch.empty()) {
        if (batch.size() < sizeof(EVENTLOGRECORD)) {
            return damaged + 1;
        }
        EVENTLOGRECORD header{};
        std::memcpy(&header, batch.data(), sizeof header);
        if (header.Length < sizeof header || header.Length > batch.size() || header.Length % sizeof(DWORD) != 0) {
            return damaged + 1;
        }
        damaged += append_record(header, batch.first(header.Length), text) ? 0 : 1;
        batch = batch.subspan(header.Length);
    }
    return damaged;
}

} // namespace LogZipper
