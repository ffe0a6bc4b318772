#include "winconv/convert.h"

#include "logger/log.h"

#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <optional>
#include <utility>

namespace WinConv {

namespace {

// Returns the length for the int parameters of the Windows functions. A length that does not fit becomes 0, which they
// reject.
int api_length(std::size_t length) {
    return std::cmp_less_equal(length, INT_MAX) ? static_cast<int>(length) : 0;
}

template <typename Char>
void cut_at_nul(std::basic_string<Char>& text, int converted) {
    text.resize(static_cast<std::size_t>(converted));
    text.erase(std::find(text.begin(), text.end(), Char{}), text.end());
}

// On failure, returns std::nullopt and sets `error` to the Windows error.
std::optional<std::wstring> widen(UINT code_page, std::string_view text, DWORD& error) {
    if (text.empty()) {
        return std::wstring();
    }
    const int length = api_length(text.size());
    std::wstring native(text.size() + 1, L'\0');
    const int converted = MultiByteToWideChar(code_page, 0, text.data(), length, native.data(), length);
    if (converted == 0) {
        error = GetLastError();
        return std::nullopt;
    }
    cut_at_nul(native, converted);
    return native;
}

} // namespace

std::wstring utf8_to_native(std::string_view text) {
    DWORD error = ERROR_SUCCESS;
    const auto native = widen(CP_UTF8, text, error);
    if (!native) {
        LOG_CRITICAL(Logger::main, "Multi-byte to UCS-2 conversion failed for string \"{}\" (error code: {})", text,
                     error);
    }
    return native.value_or(std::wstring());
}

std::wstring ansi_to_native(std::string_view text) {
    DWORD error = ERROR_SUCCESS;
    const auto native = widen(CP_ACP, text, error);
    if (!native) {
        LOG_CRITICAL(Logger::main, "ANSI to UCS-2 conversion failed (error code: {})", error);
    }
    return native.value_or(std::wstring());
}

std::string native_to_utf8(std::wstring_view text) {
    if (text.empty()) {
        return {};
    }
    const int length = api_length(text.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (needed == 0) {
        LOG_CRITICAL(Logger::main, "UCS-2 to multi-byte conversion failed (error code: {})", GetLastError());
        return {};
    }
    std::string utf8(static_cast<std::size_t>(needed) + 1, '\0');
    const int converted = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), needed, nullptr, nullptr);
    if (converted == 0) {
        LOG_CRITICAL(Logger::main, "UCS-2 to multi-byte conversion failed (error code: {})", GetLastError());
        return {};
    }
    cut_at_nul(utf8, converted);
    return utf8;
}

} // namespace WinConv
