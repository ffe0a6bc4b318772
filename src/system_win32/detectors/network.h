#pragma once

#include <string>

namespace System {

/// Keeps Winsock initialised for the lifetime of the object. The constructor throws CorvelFatalException on failure.
class SocketLibrary {
public:
    SocketLibrary();
    SocketLibrary(const SocketLibrary&) = delete;
    SocketLibrary& operator=(const SocketLibrary&) = delete;
    ~SocketLibrary();
};

/// Returns the machine's host name in UTF-8. Throws CorvelFatalException if the system does not return it.
std::string detect_hostname(const SocketLibrary& sockets);

/// Returns the IPv4 address of the interface that the default route uses. Returns "Unknown ip", after logging the
/// reason, if neither the host of the URL nor a well-known address resolves, or if the interface cannot be determined.
/// Throws CorvelFatalException if the URL is malformed.
std::string detect_ip_address(const SocketLibrary& sockets, const std::string& url);

} // namespace System
