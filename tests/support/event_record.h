#pragma once

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

using EventBatch = std::vector<std::byte>;

/// One event record in the layout of Windows, generated at 2025-01-31 14:05:09 UTC.
inline EventBatch event_record(const std::wstring& source, DWORD number, WORD type, const std::vector<std::wstring>& strings) {
    std::wstring tail = source + L'\0' + L"HOST" + L'\0';
    EVENTLOGRECORD header{.RecordNumber = number, .TimeGenerated = 1738332309, .EventType = type, .NumStrings = static_cast<WORD>(strings.size())};
    header.StringOffset = static_cast<DWORD>(sizeof header + tail.size() * sizeof(wchar_t));
    for (const std::wstring& string : strings) { tail += string + L'\0'; }
    tail.resize((tail.size() + 1) / 2 * 2 + 2);
    header.Length = static_cast<DWORD>(sizeof header + tail.size() * sizeof(wchar_t));
    EventBatch bytes(header.Length);
    std::memcpy(bytes.data(), &header, sizeof header);
    std::memcpy(bytes.data() + sizeof header, tail.data(), tail.size() * sizeof(wchar_t));
    return bytes;
}

inline EventBatch operator+(EventBatch left, const EventBatch& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}
