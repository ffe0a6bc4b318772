#include "system_win32/com.h"

#include "logger/log.h"
#include "system_win32/internal/libraries.h"
#include "winconv/error_text.h"

#include <objbase.h>

namespace System {

namespace {

constexpr std::uint32_t com_initialised = 1U << 0U;
constexpr std::uint32_t winrt_initialised = 1U << 1U;
constexpr std::uint32_t com_was_initialised = 1U << 2U;
constexpr std::uint32_t winrt_was_initialised = 1U << 3U;

constexpr int ro_init_multithreaded = 1;

// Tried once: what a system lacks now it will lack later.
bool winrt_is_available() {
    static const bool available = winrt_core().load({"api-ms-win-core-winrt-l1-1-0.dll"}, false);
    return available;
}

} // namespace

Bstr make_bstr(const wchar_t* text) {
    Bstr copy(SysAllocString(text));
    if (!copy) {
        throw com_error(E_OUTOFMEMORY, "SysAllocString");
    }
    return copy;
}

std::system_error com_error(HRESULT result, const char* what) {
    return {static_cast<int>(result), ComHelpers::HresultErrorCategory::instance(), what};
}

WindowsIpcApartment::WindowsIpcApartment() {
    const HRESULT com = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (com != S_OK && com != S_FALSE) {
        LOG_ERROR(Logger::main, "Failed to initialize COM (error code: {:#08x})", static_cast<std::uint32_t>(com));
        return;
    }
    flags_ |= com_initialised | (com == S_FALSE ? com_was_initialised : 0);
    if (!winrt_is_available()) {
        return;
    }
    const HRESULT winrt = ro_initialize.as<HRESULT WINAPI(int)>()(ro_init_multithreaded);
    if (winrt != S_OK && winrt != S_FALSE) {
        LOG_ERROR(Logger::main, "Failed to initialize WinRT (error code: {:#08x})", static_cast<std::uint32_t>(winrt));
        return;
    }
    flags_ |= winrt_initialised | (winrt == S_FALSE ? winrt_was_initialised : 0);
}

WindowsIpcApartment::~WindowsIpcApartment() {
    // Against the usual pairing on purpose: what was there before stays.
    if ((flags_ & com_initialised) != 0 && (flags_ & com_was_initialised) == 0) {
        CoUninitialize();
    }
    const bool initialised_winrt = (flags_ & winrt_initialised) != 0 && (flags_ & winrt_was_initialised) == 0;
    if (initialised_winrt && ro_uninitialize.address != nullptr) {
        ro_uninitialize.as<void WINAPI()>()();
    }
}

} // namespace System
