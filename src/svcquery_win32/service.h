#pragma once

#include "winconv/result.h"

#include <windows.h>

#include <string>

namespace Service {

/// Returns the platform's name of a service state, "service_status_unknown" for a code that is none.
const char* service_state_name(DWORD state);

/// Returns the name of the agent service's state, or an error text. Asks for query rights only, so that it also
/// works without administrative rights.
WinConv::Result<std::string> query_corvel_service_status();

/// Stops the agent service if it is not stopped, sets it to delayed automatic start, starts it and waits until it
/// runs. Blocks up to half a minute for each change of state. Returns nothing, or an error text; a service that does
/// not reach the stopped state is not started.
WinConv::Result<> restart_corvel_service();

/// Waits until the service is in the state `expected` as long as it is in the state `pending`, 30 seconds at most.
/// `service` needs query rights. Returns nothing, or an error text.
WinConv::Result<> wait_for_service_state(SC_HANDLE service, DWORD expected, DWORD pending);

} // namespace Service
