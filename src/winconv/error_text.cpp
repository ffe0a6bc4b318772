#include "winconv/error_text.h"

#include "winconv/convert.h"
#include "winconv/owned.h"

#include <fmt/format.h>
#include <fmt/xchar.h>

#include <windows.h>

#include <string>

namespace {

// Returns the system's message for a code, unmodified; empty if there is none.
std::wstring system_message(DWORD code, DWORD language) {
    LPWSTR text = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, code, language, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    const WinConv::Owned<HLOCAL, LocalFree> owner(text);
    return text == nullptr ? std::wstring() : std::wstring(text, length);
}

class WindowsErrorCategory : public std::error_category {
public:
    const char* name() const noexcept override {
        return "system";
    }

    std::string message(int code) const override {
        std::wstring text = system_message(static_cast<DWORD>(code), MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL));
        text.erase(text.find_last_not_of(L" \t\r\n") + 1);
        return text.empty() ? "unknown error" : WinConv::native_to_utf8(text);
    }

    std::error_condition default_error_condition(int code) const noexcept override {
        return std::system_category().default_error_condition(code);
    }
};

} // namespace

namespace WinConv {

std::string format_error_code(std::uint32_t code) {
    const std::string_view update_message = windows_update_error_message(code);
    return fmt::format("{:#x} - {}", code,
                       update_message.empty() ? windows_error(code).message() : std::string(update_message));
}

const std::error_category& windows_error_category() {
    static const WindowsErrorCategory category;
    return category;
}

std::error_code windows_error(std::uint32_t code) {
    return {static_cast<int>(code), windows_error_category()};
}

std::error_code last_error() {
    return windows_error(GetLastError());
}

std::string last_error_text() {
    return format_error_code(GetLastError());
}

} // namespace WinConv

namespace ComHelpers {

namespace {

constexpr DWORD first_dispatch_code = 0x80040200;
constexpr DWORD last_dispatch_code = 0x8004FFFF;

std::wstring unknown_hresult_text(DWORD code) {
    if (code >= first_dispatch_code && code <= last_dispatch_code) {
        return fmt::format(L"IDispatch error #{}", code - first_dispatch_code);
    }
    return fmt::format(L"Unknown error 0x{:X}", code);
}

} // namespace

const HresultErrorCategory& HresultErrorCategory::instance() {
    static const HresultErrorCategory category;
    return category;
}

const char* HresultErrorCategory::name() const noexcept {
    return "HRESULT";
}

std::string HresultErrorCategory::message(int code) const {
    const auto hresult = static_cast<DWORD>(code);
    std::wstring text = system_message(hresult, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT));
    if (text.empty()) {
        text = unknown_hresult_text(hresult);
    } else if (text.size() >= 2 && text.back() == L'\n') {
        text.pop_back();
        if (text.back() == L'\r') {
            text.pop_back();
        }
    }
    return WinConv::native_to_utf8(text);
}

} // namespace ComHelpers
