#include "system_win32/detectors/os_facts.h"

#include "system_win32/detectors/architecture.h"
#include "system_win32/detectors/libraries.h"
#include "winconv/convert.h"
#include "winconv/fatal_exception.h"

#include <windows.h>

#include <array>
#include <cwchar>

namespace System {

namespace {

constexpr auto version_key = L"Software\\Microsoft\\Windows NT\\CurrentVersion";
constexpr auto levels_key = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Server\\ServerLevels";

// The edition for virtual desktops (PRODUCT_SERVERRDSH) reports a server's product type but is a client edition.
constexpr DWORD multi_user_desktop = 175;

std::uint32_t registry_number(const wchar_t* key, const wchar_t* value) {
    DWORD number = 0;
    DWORD size = sizeof number;
    const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, key, value, RRF_RT_REG_DWORD, nullptr, &number, &size);
    return status == ERROR_SUCCESS ? number : 0;
}

std::string registry_text(const wchar_t* key, const wchar_t* value) {
    std::array<wchar_t, 256> text{};
    DWORD size = sizeof text;
    const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, key, value, RRF_RT_REG_SZ, nullptr, text.data(), &size);
    return status == ERROR_SUCCESS ? WinConv::native_to_utf8(text.data()) : std::string();
}

RTL_OSVERSIONINFOEXW true_version() {
    RTL_OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof version;
    rtl_get_version.as<LONG WINAPI(RTL_OSVERSIONINFOEXW*)>()(&version);
    return version;
}

} // namespace

OsFacts query_os_facts() {
    if (!kernel32().load({"kernel32"}, false)) {
        throw WinConv::CorvelFatalException("Failed to load essential library kernel32.dll");
    }
    if (!ntdll().load({"ntdll"}, false)) {
        throw WinConv::CorvelFatalException("Failed to load essential library ntdll.dll");
    }
    const RTL_OSVERSIONINFOEXW version = true_version();
    OsFacts facts;
    facts.major = version.dwMajorVersion;
    facts.minor = version.dwMinorVersion;
    facts.build = version.dwBuildNumber;
    facts.service_pack = WinConv::native_to_utf8(version.szCSDVersion);
    if (version.wProductType != VER_NT_WORKSTATION) {
        DWORD product = 0;
        GetProductInfo(6, 3, 0, 0, &product);
        facts.product_type = product;
        facts.is_server = product != multi_user_desktop;
    }
    facts.machine = native_machine();
    facts.version = registry_text(version_key, L"DisplayVersion");
    if (facts.version.empty()) {
        facts.version = registry_text(version_key, L"ReleaseId");
    }
    facts.nano_server = registry_number(levels_key, L"NanoServer");
    facts.server_core = registry_number(levels_key, L"ServerCore");
    facts.server_gui_shell = registry_number(levels_key, L"Server-Gui-Shell");
    return facts;
}

} // namespace System
