#pragma once

#include "winconv/result.h"

#include <string>

namespace Service {

/// Returns the name of the agent service's state, such as "SERVICE_RUNNING", or an error text. Requests only query
/// rights, so that it works without administrative rights.
WinConv::Result<std::string> query_corvel_service_status();

/// Stops the agent service unless it is stopped, sets it to delayed automatic start, starts it and waits until it runs.
/// Blocks up to 30 seconds for each change of state. Returns an error text on failure; a failure to set delayed
/// automatic start is only logged. A service that does not stop is not started.
WinConv::Result<> restart_corvel_service();

} // namespace Service
