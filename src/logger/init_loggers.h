#pragma once

#include "logger/level.h"

namespace Logger {

/// Starts the logging back end and sets the handles of logger/log.h, each at its level of `config`.
///
/// Statements go to the console when standard output is a terminal, to the Windows event log otherwise, and to
/// "corvel.log" in the working directory if the event source cannot be registered; the reason then stands in the
/// log at Info. Call once, before anything logs. Throws the logging library's error if it cannot set up a logger.
void init_loggers(const LogLevelConfig& config);

/// Writes everything that is still queued and ends the back end. Nothing may log afterwards.
void stop_logging();

} // namespace Logger
