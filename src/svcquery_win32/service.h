#pragma once

#include "winconv/result.h"

#include <string>

namespace Service {

/// Returns the name of the agent service's state, or an error text. Asks for query rights only, so that it also
/// works without administrative rights.
WinConv::Result<std::string> query_corvel_service_status();

/// Stops the agent service if it is not stopped, sets it to delayed automatic start, starts it and waits until it
/// runs. Blocks up to half a minute for each change of state. Returns nothing, or an error text; a service that does
/// not reach the stopped state is not started.
WinConv::Result<> restart_corvel_service();

} // namespace Service
