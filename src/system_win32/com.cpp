#include "system_win32/com.h"

#include "logger/log.h"
#include "system_win32/detectors/libraries.h"
#include "winconv/error_text.h"

#include <objbase.h>

namespace System {

namespace {

constexpr int ro_init_multithreaded = 1;

// Tried only once: a library that the system does not have will not appear later.
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
    ends_com_ = com == S_OK;
    if (!winrt_is_available()) {
        return;
    }
    const HRESULT winrt = ro_initialize.as<HRESULT WINAPI(int)>()(ro_init_multithreaded);
    if (winrt != S_OK && winrt != S_FALSE) {
        LOG_ERROR(Logger::main, "Failed to initialize WinRT (error code: {:#08x})", static_cast<std::uint32_t>(winrt));
        return;
    }
    ends_winrt_ = winrt == S_OK;
}

WindowsIpcApartment::~WindowsIpcApartment() {
    if (ends_com_) {
        CoUninitialize();
    }
    if (ends_winrt_ && ro_uninitialize.address != nullptr) {
        ro_uninitialize.as<void WINAPI()>()();
    }
}

} // namespace System
