#include "system_win32/internal/os_facts.h"

#include "fakes/imports.h"
#include "support/recorded_log.h"
#include "system_win32/internal/os_name.h"

#include <gmock/gmock.h>

#include <map>
#include <string>

namespace {

struct Machine {
    DWORD major, minor, build;
    BYTE type;
    const wchar_t* service_pack;
    DWORD product;
    std::map<std::wstring, const wchar_t*> texts;
    std::map<std::wstring, DWORD> levels;
    const char* name;
};

const Machine* current = nullptr;

LONG WINAPI get_version(RTL_OSVERSIONINFOEXW* version) {
    version->dwMajorVersion = current->major;
    version->dwMinorVersion = current->minor;
    version->dwBuildNumber = current->build;
    version->wProductType = current->type;
    wcscpy(version->szCSDVersion, current->service_pack);
    return 0;
}

TEST(DetectOsName, asks_for_product_service_pack_version_and_levels) {
    Fakes::Replacements replaced;
    replaced.add(Fakes::GetProcAddress, [](HMODULE library, LPCSTR name) {
        const bool version = std::string_view(name) == "RtlGetVersion";
        return version ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(get_version))
                       : (*Fakes::GetProcAddress.original)(library, name);
    });
    replaced.add(Fakes::RegGetValueW, [](HKEY, LPCWSTR key, LPCWSTR name, DWORD, auto, void* data, auto) {
        const std::wstring version_key = L"Software\\Microsoft\\Windows NT\\CurrentVersion";
        if (key == version_key && current->texts.contains(name)) {
            wcscpy(static_cast<wchar_t*>(data), current->texts.at(name));
        } else if (key == version_key + L"\\Server\\ServerLevels" && current->levels.contains(name)) {
            *static_cast<DWORD*>(data) = current->levels.at(name);
        } else {
            return LSTATUS{ERROR_FILE_NOT_FOUND};
        }
        return LSTATUS{ERROR_SUCCESS};
    });
    replaced.add(Fakes::GetProductInfo, [](DWORD a, DWORD b, DWORD c, DWORD d, DWORD* result) {
        EXPECT_TRUE(a == 6 && b == 3 && c == 0 && d == 0);
        *result = current->product;
        return TRUE;
    });
    // clang-format off
    const Machine machines[] = {
        {10, 0, 22631, 1, L"", 0, {{L"DisplayVersion", L"23H2"}, {L"ReleaseId", L"2009"}}, {}, "Windows 11 Version 23H2 for x64-based Systems"},
        {10, 0, 17763, 1, L"", 0, {{L"DisplayVersion", L""}, {L"ReleaseId", L"1809"}}, {}, "Windows 10 Version 1809 for x64-based Systems"},
        {10, 0, 22000, 3, L"", 175, {{L"DisplayVersion", L"21H2"}}, {}, "Windows 11 Version 21H2 for x64-based Systems"},
        {10, 0, 20348, 3, L"", 12, {{L"DisplayVersion", L"21H2"}}, {}, "Windows Server 2022 (Server Core Installation)"},
        {10, 0, 17763, 2, L"", 7, {}, {{L"ServerCore", 1}}, "Windows Server 2019 (Server Core Installation)"},
        {10, 0, 17763, 3, L"", 7, {}, {{L"ServerCore", 1}, {L"Server-Gui-Shell", 1}}, "Windows Server 2019"},
        {10, 0, 14393, 3, L"", 7, {}, {{L"NanoServer", 1}}, "Windows Server 2016 (Server Core Installation)"},
        {6, 1, 7601, 3, L"Service Pack 1", 7, {}, {}, "Windows Server 2008 R2 for x64-based Systems Service Pack 1"},
        {10, 0, 10240, 3, L"", 7, {}, {}, "Windows Unknown"},
    };
    // clang-format on
    for (const Machine& machine : machines) {
        current = &machine;
        EXPECT_EQ(System::detect_os_name(), machine.name);
    }
    EXPECT_THAT(RecordedLog::take(),
                testing::Contains("warning detect_os_name: Failed to detect version of windows major=10 minor=0 "
                                  "build=10240 is_server=true"));
}

} // namespace
