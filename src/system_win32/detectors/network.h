#pragma once

#include <string>

namespace System {

/// The socket library, for a scope. Throws CorvelFatalException if it cannot be started.
class SocketLibrary {
public:
    SocketLibrary();
    SocketLibrary(const SocketLibrary&) = delete;
    SocketLibrary& operator=(const SocketLibrary&) = delete;
    ~SocketLibrary();
};

/// Returns the machine's name in UTF-8. Throws CorvelFatalException if the system does not tell it.
std::string detect_hostname(const SocketLibrary& sockets);

/// Returns the IPv4 address by which the machine reaches the world, if the host of the URL, or else a well-known one,
/// resolves; "Unknown ip" otherwise, with the reason logged. Throws CorvelFatalException if the URL is malformed.
std::string detect_ip_address(const SocketLibrary& sockets, const std::string& url);

} // namespace System
