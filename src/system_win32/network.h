#pragma once

#include <windows.h>

#include <winhttp.h>

#include <optional>
#include <string>

namespace System {

/// Returns the machine's name. Throws CorvelFatalException if the system does not tell it.
std::string detect_hostname();

/// Returns the IPv4 address by which the machine reaches the world, if the host of the URL, or else a well-known one,
/// resolves; "Unknown ip" otherwise, with the reason logged. Throws CorvelFatalException if the URL is malformed.
std::string detect_ip_address(const std::string& url);

/// Splits a URL into views of its parts; logs why and returns false if it is malformed.
bool split_url(const std::wstring& url, URL_COMPONENTS& components);

/// Returns the dotted address of the interface that routes to the destination (network byte order); nothing, with the
/// reason logged, if there is none.
std::optional<std::string> get_best_interface_ip4(DWORD destination);

} // namespace System
