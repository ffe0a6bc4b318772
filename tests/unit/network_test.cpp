#include "system_win32/internal/network.h"

#include "fakes/imports.h"
#include "support/recorded_log.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

// A machine with two adapters, the default route on the second.
class Network : public testing::Test {
protected:
    System::SocketLibrary sockets;
    std::vector<std::wstring> resolved;
    std::wstring unresolvable;
    DWORD interface_index = 2;
    DWORD rows = 2;
    Fakes::Replacements replaced;

    void SetUp() override {
        replaced.add(Fakes::GetAddrInfoW, [this](LPCWSTR host, LPCWSTR service, const ADDRINFOW* hints, auto result) {
            EXPECT_STREQ(service, L"https");
            EXPECT_TRUE(hints->ai_family == 2 && hints->ai_socktype == 1 && hints->ai_protocol == 6);
            resolved.emplace_back(host);
            // By its number, for which the machine need not know the service.
            return unresolvable.find(host) != std::wstring::npos
                       ? WSAHOST_NOT_FOUND
                       : (*Fakes::GetAddrInfoW.original)(L"127.0.0.1", L"443", hints, result);
        });
        replaced.add(Fakes::GetBestInterface, [this](IPAddr destination, DWORD* index) {
            EXPECT_EQ(destination, 0xBB010002U); // 2.0.1.187
            *index = interface_index;
            return DWORD{NO_ERROR};
        });
        replaced.add(Fakes::GetIpAddrTable, [this](MIB_IPADDRTABLE* table, ULONG* size, BOOL) -> DWORD {
            const MIB_IPADDRROW adapters[] = {{0x0100007F, 1}, {0x0100000A, 2}};
            const auto needed = static_cast<ULONG>(offsetof(MIB_IPADDRTABLE, table) + rows * sizeof(MIB_IPADDRROW));
            if (*size < needed) {
                *size = needed;
                return ERROR_INSUFFICIENT_BUFFER;
            }
            table->dwNumEntries = rows + 100; // more than there is room for
            std::copy_n(adapters, rows, &table->table[0]);
            return NO_ERROR;
        });
    }
    std::string detect() const {
        return System::detect_ip_address(sockets, "https://app.corvel.example/x");
    }
};

TEST_F(Network, address_is_that_of_the_default_route_if_anything_resolves) {
    EXPECT_EQ(detect(), "10.0.0.1");
    unresolvable = L"app.corvel.example";
    EXPECT_EQ(detect(), "10.0.0.1");
    EXPECT_THAT(resolved, ElementsAre(L"app.corvel.example", L"app.corvel.example", L"1.1.1.1"));
    RecordedLog::take();
    unresolvable += L"1.1.1.1";
    EXPECT_EQ(detect(), "Unknown ip");
    EXPECT_THAT(RecordedLog::take(), ElementsAre("error detect_ip_address: Failed to resolve web api url",
                                                 "error detect_ip_address: Failed to fallback on well known host"));
}

TEST_F(Network, without_a_row_for_the_interface_has_no_known_address) {
    const std::string line = "error get_best_interface_ip4: Failed to find interface 9 in ip table for 3137404930";
    interface_index = 9;
    for (rows = 0; rows <= 2; rows += 2) {
        EXPECT_EQ(detect(), "Unknown ip");
        EXPECT_THAT(RecordedLog::take(), ElementsAre(line));
    }
}

TEST_F(Network, name_of_the_host_is_converted_from_the_code_page_of_the_system) {
    replaced.add(Fakes::gethostname, [](char* buffer, int size) {
        return std::string_view("gr\xFCn").copy(buffer, static_cast<std::size_t>(size)) == 4 ? 0 : -1;
    });
    replaced.add(Fakes::MultiByteToWideChar, [](UINT page, auto... rest) {
        return (*Fakes::MultiByteToWideChar.original)(page == CP_ACP ? 1252 : page, rest...);
    });
    EXPECT_EQ(System::detect_hostname(sockets), "gr\u00fcn");
}

} // namespace
