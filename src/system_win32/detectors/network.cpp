#include "system_win32/detectors/network.h"

#include "logger/log.h"
#include "winconv/convert.h"
#include "winconv/error_text.h"
#include "winconv/fatal_exception.h"
#include "winconv/owned.h"

#include <fmt/format.h>

#include <winsock2.h>
#include <ws2tcpip.h>

#include <iphlpapi.h>
#include <winhttp.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace System {

namespace {

constexpr std::size_t longest_host_name = 255;

using Addresses = WinConv::Owned<ADDRINFOW*, FreeAddrInfoW>;

Addresses resolve(const std::wstring& host) {
    ADDRINFOW hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    ADDRINFOW* addresses = nullptr;
    return Addresses(GetAddrInfoW(host.c_str(), L"https", &hints, &addresses) == 0 ? addresses : nullptr);
}

// The table of IPv4 addresses, or the error code of GetIpAddrTable.
struct IpTable {
    DWORD result = NO_ERROR;
    std::vector<std::byte> bytes;
};

IpTable query_ip_table() {
    IpTable table;
    ULONG size = 0;
    table.result = GetIpAddrTable(nullptr, &size, FALSE);
    if (table.result == ERROR_INSUFFICIENT_BUFFER) {
        table.bytes.resize(size);
        table.result = GetIpAddrTable(reinterpret_cast<MIB_IPADDRTABLE*>(table.bytes.data()), &size, FALSE);
    }
    return table;
}

// Returns as many rows as the table states, but none beyond the end of its buffer.
std::span<const MIB_IPADDRROW> rows_of(std::span<const std::byte> bytes) {
    constexpr std::size_t head = offsetof(MIB_IPADDRTABLE, table);
    if (bytes.size() < head) {
        return {};
    }
    const auto* const table = reinterpret_cast<const MIB_IPADDRTABLE*>(bytes.data());
    const std::size_t room = (bytes.size() - head) / sizeof(MIB_IPADDRROW);
    return {&table->table[0], std::min<std::size_t>(table->dwNumEntries, room)};
}

// Returns an address (network byte order) in dotted-decimal form.
std::string dotted(DWORD address) {
    const auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof address>>(address);
    return fmt::format("{}.{}.{}.{}", bytes[0], bytes[1], bytes[2], bytes[3]);
}

// Splits a URL into components that point into it. If it is malformed, logs that and returns false with the last error
// set.
bool split_url(const std::wstring& url, URL_COMPONENTS& components) {
    constexpr auto as_view = static_cast<DWORD>(-1);
    components = {};
    components.dwStructSize = sizeof components;
    components.dwSchemeLength = as_view;
    components.dwHostNameLength = as_view;
    components.dwUserNameLength = as_view;
    components.dwPasswordLength = as_view;
    components.dwUrlPathLength = as_view;
    components.dwExtraInfoLength = as_view;
    if (WinHttpCrackUrl(url.c_str(), static_cast<DWORD>(url.size()), 0, &components) == 0) {
        const DWORD error = GetLastError();
        LOG_ERROR(Logger::main, "Invalid URL: {}", WinConv::format_error_code(error));
        SetLastError(error);
        return false;
    }
    return true;
}

// Returns the address of the interface with the best route to the destination (network byte order), or std::nullopt,
// after logging the reason, if there is none.
std::optional<std::string> get_best_interface_ip4(DWORD destination) {
    DWORD index = 0;
    if (GetBestInterface(destination, &index) != NO_ERROR) {
        LOG_ERROR(Logger::main, "Failed to get best interface for {}", destination);
        return std::nullopt;
    }
    const IpTable table = query_ip_table();
    if (table.result != NO_ERROR) {
        LOG_ERROR(Logger::main, "Failed to query ip table for {}: {}", destination,
                  WinConv::format_error_code(table.result));
        return std::nullopt;
    }
    for (const MIB_IPADDRROW& row : rows_of(table.bytes)) {
        if (row.dwIndex == index) {
            return dotted(row.dwAddr);
        }
    }
    LOG_ERROR(Logger::main, "Failed to find interface {} in ip table for {}", index, destination);
    return std::nullopt;
}

} // namespace

SocketLibrary::SocketLibrary() {
    WSADATA data{};
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        throw WinConv::CorvelFatalException("Failed to startup winsock: " + WinConv::last_error_text());
    }
}

SocketLibrary::~SocketLibrary() {
    WSACleanup();
}

std::string detect_hostname(const SocketLibrary& /*sockets*/) {
    std::array<char, longest_host_name + 1> name{};
    if (gethostname(name.data(), static_cast<int>(name.size())) != 0) {
        throw WinConv::CorvelFatalException("Failed to retrieve host name: " + WinConv::last_error_text());
    }
    return WinConv::native_to_utf8(WinConv::ansi_to_native(name.data()));
}

std::string detect_ip_address(const SocketLibrary& /*sockets*/, const std::string& url) {
    constexpr auto unknown = "Unknown ip";
    const std::wstring native_url = WinConv::utf8_to_native(url);
    URL_COMPONENTS components{};
    if (!split_url(native_url, components)) {
        throw WinConv::CorvelFatalException("Invalid api url: " + WinConv::last_error_text());
    }
    Addresses addresses = resolve(std::wstring(components.lpszHostName, components.dwHostNameLength));
    if (!addresses) {
        LOG_ERROR(Logger::main, "Failed to resolve web api url");
        addresses = resolve(L"1.1.1.1");
    }
    if (!addresses) {
        LOG_ERROR(Logger::main, "Failed to fallback on well known host");
        return unknown;
    }
    if (addresses->ai_family != AF_INET) {
        LOG_ERROR(Logger::main, "Failed to get best interface");
        return unknown;
    }
    // The first four bytes of a socket address are its family and port, not the IP address. The destination is
    // therefore the same public address for every host, and the result is the interface of the default route; the host
    // only has to resolve.
    DWORD destination = 0;
    std::memcpy(&destination, addresses->ai_addr, sizeof destination);
    return get_best_interface_ip4(destination).value_or(unknown);
}

} // namespace System
