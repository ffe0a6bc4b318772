#pragma once

#include "logger/level.h"

#include <quill/sinks/Sink.h>

#include <functional>
#include <memory>

namespace Logger {

/// Makes the sink that statements go to when nobody watches them on a terminal; throws std::exception if it cannot.
using SinkMaker = std::function<std::shared_ptr<quill::Sink>()>;

/// Starts the logging back end and sets the handles of logger/log.h, each at its level of `config`.
///
/// Statements go to the console when standard output is a terminal, as bare messages to the preferred sink otherwise,
/// and to "corvel.log" in the working directory if that cannot be made; the reason then stands in the log at Info.
/// Call once, before anything logs. Throws the logging library's error if it cannot set up a logger.
void init_loggers(const LogLevelConfig& config, const SinkMaker& make_preferred_sink);

/// Writes everything that is still queued and ends the back end. Nothing may log afterwards.
void stop_logging();

} // namespace Logger
