#include <winsock2.h>
#include <ws2tcpip.h>

#include "dll/dynamic_library.h"
#include "fakes/imports.h"
#include "support/recorded_log.h"
#include "system_win32/libraries.h"
#include "system_win32/machine.h"
#include "system_win32/network.h"
#include "system_win32/os_name.h"
#include "winconv/fatal_exception.h"
#include "winconv/time_text.h"

#include <gmock/gmock.h>

using System::OsFacts;
using testing::ElementsAre;

namespace {

TEST(OsName, is_that_of_security_advisories) {
    const std::pair<OsFacts, const char*> cases[] = {
        {{10, 0, 26100, true, 7, 0x8664, "24H2"}, "Windows Server 2025"},
        {{10, 0, 22631, false, 0, 0x8664, "23H2"}, "Windows 11 Version 23H2 for x64-based Systems"},
        {{10, 0, 22000, false, 175, 0xAA64, "21H2"}, "Windows 11 Version 21H2 for ARM64-based Systems"},
        {{10, 0, 21999, false, 0, 0x14C, "21H1"}, "Windows 10 Version 21H1 for 32-bit Systems"},
        {{10, 0, 19045, false, 0, 0x8664}, "Windows 10 for x64-based Systems"},
        {{10, 0, 20348, true, 7, 0x8664, "21H2"}, "Windows Server 2022"},
        {{10, 0, 17763, true, 7, 0x8664, "1809", "", 0, 1, 0}, "Windows Server 2019 (Server Core Installation)"},
        {{10, 0, 17763, true, 7, 0x8664, "1809", "", 0, 1, 1}, "Windows Server 2019"},
        {{10, 0, 14393, true, 7, 0x8664, "", "", 1, 0, 1}, "Windows Server 2016 (Server Core Installation)"},
        {{6, 3, 9600, true, 7, 0x8664}, "Windows Server 2012 R2"},
        {{6, 3, 9600, false, 0, 0x1C0}, "Windows 8.1 for ARM-based Systems"},
        {{6, 2, 9200, false, 0, 0x8664}, "Windows 8 for x64-based Systems"},
        {{6, 2, 9200, true, 7, 0x8664}, "Windows Server 2012"},
        {{6, 1, 7601, false, 0, 0x14C, "", "Service Pack 1"}, "Windows 7 for 32-bit Systems Service Pack 1"},
        {{6, 1, 7601, true, 7, 0x8664, "", "Service Pack 1"},
         "Windows Server 2008 R2 for x64-based Systems Service Pack 1"},
        {{6, 0, 6003, true, 7, 0x200}, "Windows Server 2008 for Itanium-based Systems"},
    };
    for (const auto& [facts, name] : cases) {
        EXPECT_EQ(System::name_operating_system(facts), name);
    }
    for (const std::uint32_t product : {12U, 13U, 14U, 29U, 39U, 40U, 41U, 43U, 44U, 45U, 46U, 145U, 146U}) {
        EXPECT_EQ(System::name_operating_system({10, 0, 20348, true, product}),
                  "Windows Server 2022 (Server Core Installation)");
    }
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
}

TEST(OsName, says_what_it_does_not_know) {
    EXPECT_EQ(System::name_operating_system({10, 0, 10240, true}), "Windows Unknown");
    EXPECT_EQ(System::name_operating_system({10, 0, 19045, false, 0, 0x1234}), "Windows 10");
    EXPECT_THAT(RecordedLog::take(),
                ElementsAre("warning name_operating_system: Failed to detect version of windows major=10 minor=0 "
                            "build=10240 is_server=true",
                            "warning name_operating_system: Unknown architecture name"));
}

TEST(DynamicLibrary, takes_the_first_candidate_with_all_required_symbols) {
    Dll::LibrarySymbol required{nullptr, "RtlGetVersion"};
    Dll::LibrarySymbol missing{nullptr, "NoSuchFunction"};
    Dll::LibrarySymbol behind{nullptr, "NtClose"};
    Dll::DynamicLibrary library({&required}, {&missing, &behind});
    EXPECT_FALSE(library.load({}, false));
    EXPECT_TRUE(library.load({"nosuch", "kernel32", "ntdll"}, false));
    EXPECT_TRUE(library.load({}, false));
    EXPECT_TRUE(required.address != nullptr && missing.address == nullptr && behind.address == nullptr);
    const auto lines = RecordedLog::take();
    EXPECT_THAT(lines,
                ElementsAre("debug load: Loading nosuch failed", "debug load: Attempting to load kernel32",
                            "debug resolve_required: Failed to resolve symbol RtlGetVersion from kernel32",
                            "debug load: Attempting to load ntdll",
                            "debug resolve_optional: Failed to resolve optional symbol NoSuchFunction from ntdll",
                            "debug load: Successfully loaded ntdll"));
    Dll::DynamicLibrary lacking({&missing}, {});
    EXPECT_FALSE(lacking.load({"nosuch", "ntdll"}, true));
    EXPECT_FALSE(lacking.load({}, true));
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
}

TEST(NativeMachine, is_asked_of_the_function_that_sees_through_emulation_or_else_of_the_system) {
    System::is_wow64_process2.address =
        reinterpret_cast<FARPROC>(reinterpret_cast<void*>(+[](HANDLE, USHORT*, USHORT* native) {
            *native = 0xAA64;
            return TRUE;
        }));
    EXPECT_EQ(System::detect_native_arch(), "arm64");
    System::is_wow64_process2.address = nullptr;
    for (const auto& known : {std::pair<WORD, const char*>(9, "x64"), {0, "x86"}, {6, "ia64"}}) {
        const Fakes::Replacement info(Fakes::GetNativeSystemInfo,
                                      [&](SYSTEM_INFO* result) { result->wProcessorArchitecture = known.first; });
        EXPECT_EQ(System::detect_native_arch(), known.second);
    }
    RecordedLog::take();
    const Fakes::Replacement info(Fakes::GetNativeSystemInfo,
                                  [](SYSTEM_INFO* result) { result->wProcessorArchitecture = 77; });
    EXPECT_EQ(System::detect_native_arch(), "x86_64");
    EXPECT_THAT(RecordedLog::take().front(), testing::EndsWith("unknown machine architecture 0x0"));
}

TEST(UtcText, has_seven_digits_of_the_second) {
    EXPECT_EQ(WinConv::utc_text(std::chrono::sys_time<WinConv::Ticks>(WinConv::Ticks(17383323094812345))),
              "2025-01-31 14:05:09.4812345");
    EXPECT_EQ(WinConv::utc_text({}), "1970-01-01 00:00:00.0000000");
}

// A machine with two adapters, the default route on the second.
class Network : public testing::Test {
protected:
    std::vector<std::wstring> resolved;
    std::wstring unresolvable;
    DWORD interface_index = 2;

    Fakes::Replacement<decltype(GetAddrInfoW)> resolve_{
        Fakes::GetAddrInfoW, [this](LPCWSTR host, LPCWSTR service, const ADDRINFOW* hints, ADDRINFOW** result) {
            EXPECT_STREQ(service, L"https");
            EXPECT_TRUE(hints->ai_family == 2 && hints->ai_socktype == 1 && hints->ai_protocol == 6);
            resolved.emplace_back(host);
            if (unresolvable.find(host) != std::wstring::npos) {
                return WSAHOST_NOT_FOUND;
            }
            return (*Fakes::GetAddrInfoW.original)(L"127.0.0.1", service, hints, result);
        }};
    Fakes::Replacement<decltype(GetBestInterface)> route_{Fakes::GetBestInterface,
                                                          [this](IPAddr destination, DWORD* index) -> DWORD {
                                                              EXPECT_EQ(destination, 0xBB010002U); // 2.0.1.187
                                                              *index = interface_index;
                                                              return NO_ERROR;
                                                          }};
    Fakes::Replacement<decltype(GetIpAddrTable)> table_{
        Fakes::GetIpAddrTable, [](MIB_IPADDRTABLE* table, ULONG* size, BOOL) -> DWORD {
            const ULONG needed = sizeof(MIB_IPADDRTABLE) + sizeof(MIB_IPADDRROW);
            if (*size < needed) {
                *size = needed;
                return ERROR_INSUFFICIENT_BUFFER;
            }
            table->dwNumEntries = 2;
            table->table[0] = {0x0100007F, 1};
            table->table[1] = {0x0100000A, 2};
            return NO_ERROR;
        }};
};

TEST_F(Network, address_is_that_of_the_default_route_if_anything_resolves) {
    EXPECT_EQ(System::detect_ip_address("https://app.corvel.example/x"), "10.0.0.1");
    unresolvable = L"app.corvel.example";
    EXPECT_EQ(System::detect_ip_address("https://app.corvel.example"), "10.0.0.1");
    EXPECT_THAT(resolved, ElementsAre(L"app.corvel.example", L"app.corvel.example", L"1.1.1.1"));
    EXPECT_THAT(RecordedLog::take(), ElementsAre("error resolve_or_fall_back: Failed to resolve web api url"));
    unresolvable += L"1.1.1.1";
    EXPECT_EQ(System::detect_ip_address("https://app.corvel.example"), "Unknown ip");
    EXPECT_THAT(RecordedLog::take().back(), testing::EndsWith("Failed to fallback on well known host"));
}

TEST_F(Network, without_a_route_has_no_known_address) {
    interface_index = 9;
    EXPECT_EQ(System::detect_ip_address("https://a"), "Unknown ip");
    {
        const Fakes::Replacement broken(Fakes::GetIpAddrTable, [](auto...) -> DWORD { return ERROR_ACCESS_DENIED; });
        EXPECT_EQ(System::detect_ip_address("https://a"), "Unknown ip");
    }
    const Fakes::Replacement none(Fakes::GetBestInterface, [](auto...) -> DWORD { return ERROR_NETWORK_UNREACHABLE; });
    EXPECT_EQ(System::detect_ip_address("https://a"), "Unknown ip");
    EXPECT_THAT(RecordedLog::take(),
                ElementsAre("error get_best_interface_ip4: Failed to find interface 9 in ip table for 3137404930",
                            "error ip_table: Failed to query ip table for 3137404930: 0x5 - Access denied.",
                            "error get_best_interface_ip4: Failed to get best interface for 3137404930"));
}

TEST_F(Network, takes_no_malformed_url) {
    EXPECT_THROW(System::detect_ip_address("no url"), WinConv::CorvelFatalException);
    EXPECT_THAT(RecordedLog::take(), ElementsAre(testing::StartsWith("error split_url: Invalid URL: 0x2ee6 - ")));
}

} // namespace
