// The socket library's headers come before windows.h, which network.h includes.
#include <winsock2.h>
#include <ws2tcpip.h>

#include "system_win32/network.h"

#include "logger/log.h"
#include "winconv/convert.h"
#include "winconv/error_text.h"
#include "winconv/fatal_exception.h"
#include "winconv/owned.h"

#include <fmt/format.h>

#include <iphlpapi.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <vector>

namespace System {

namespace {

constexpr std::size_t longest_host_name = 255;

void free_addresses(ADDRINFOW* addresses) noexcept {
    FreeAddrInfoW(addresses);
}
using Addresses = WinConv::Owned<ADDRINFOW*, free_addresses>;

std::string last_error_text() {
    return WinConv::format_error_code(GetLastError());
}

// The socket library, for a scope.
class SocketLibrary {
public:
    SocketLibrary() {
        WSADATA data{};
        if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
            throw WinConv::CorvelFatalException("Failed to startup winsock: " + last_error_text());
        }
    }
    SocketLibrary(const SocketLibrary&) = delete;
    SocketLibrary& operator=(const SocketLibrary&) = delete;
    ~SocketLibrary() {
        WSACleanup();
    }
};

Addresses resolve(const std::wstring& host) {
    ADDRINFOW hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    ADDRINFOW* addresses = nullptr;
    return Addresses(GetAddrInfoW(host.c_str(), L"https", &hints, &addresses) == 0 ? addresses : nullptr);
}

Addresses resolve_or_fall_back(const std::wstring& host) {
    Addresses addresses = resolve(host);
    if (!addresses) {
        LOG_ERROR(Logger::main, "Failed to resolve web api url");
        addresses = resolve(L"1.1.1.1");
        if (!addresses) {
            LOG_ERROR(Logger::main, "Failed to fallback on well known host");
        }
    }
    return addresses;
}

std::vector<std::byte> ip_table(DWORD destination) {
    std::vector<std::byte> table;
    ULONG size = 0;
    DWORD result = GetIpAddrTable(nullptr, &size, FALSE);
    if (result == ERROR_INSUFFICIENT_BUFFER) {
        table.resize(size);
        result = GetIpAddrTable(reinterpret_cast<MIB_IPADDRTABLE*>(table.data()), &size, FALSE);
    }
    if (result != NO_ERROR || table.size() < sizeof(MIB_IPADDRTABLE)) {
        LOG_ERROR(Logger::main, "Failed to query ip table for {}: {}", destination, WinConv::format_error_code(result));
        table.clear();
    }
    return table;
}

} // namespace

std::string detect_hostname() {
    const SocketLibrary library;
    std::array<char, longest_host_name + 1> name{};
    if (gethostname(name.data(), static_cast<int>(name.size())) != 0) {
        throw WinConv::CorvelFatalException("Failed to retrieve host name: " + last_error_text());
    }
    return name.data();
}

std::string detect_ip_address(const std::string& url) {
    constexpr auto unknown = "Unknown ip";
    const SocketLibrary library;
    const std::wstring native_url = WinConv::utf8_to_native(url);
    URL_COMPONENTS components{};
    if (!split_url(native_url, components)) {
        throw WinConv::CorvelFatalException("Invalid api url: " + last_error_text());
    }
    const Addresses addresses =
        resolve_or_fall_back(std::wstring(components.lpszHostName, components.dwHostNameLength));
    if (!addresses) {
        return unknown;
    }
    if (addresses->ai_family != AF_INET) {
        LOG_ERROR(Logger::main, "Failed to get best interface");
        return unknown;
    }
    // The first four bytes are family and port, not the address: the destination is the same public one for every
    // host, so that the answer is the default route's interface. Whether the host resolved decides only if there is
    // one.
    DWORD destination = 0;
    std::memcpy(&destination, addresses->ai_addr, sizeof destination);
    return get_best_interface_ip4(destination).value_or(unknown);
}

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

std::optional<std::string> get_best_interface_ip4(DWORD destination) {
    DWORD index = 0;
    if (GetBestInterface(destination, &index) != NO_ERROR) {
        LOG_ERROR(Logger::main, "Failed to get best interface for {}", destination);
        return std::nullopt;
    }
    const std::vector<std::byte> buffer = ip_table(destination);
    if (buffer.empty()) {
        return std::nullopt;
    }
    const auto& table = *reinterpret_cast<const MIB_IPADDRTABLE*>(buffer.data());
    for (const MIB_IPADDRROW& row : std::span(&table.table[0], table.dwNumEntries)) {
        if (row.dwIndex == index) {
            in_addr address{};
            address.s_addr = row.dwAddr;
            return inet_ntoa(address);
        }
    }
    LOG_ERROR(Logger::main, "Failed to find interface {} in ip table for {}", index, destination);
    return std::nullopt;
}

} // namespace System
