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
/// Statements go to standard output if it is a terminal, in colours if `colours`; as bare messages to the preferred
/// sink otherwise; and to "corvel.log" in the working directory if that sink cannot be made, with the reason at Info.
/// Call it once, before anything logs. Throws the logging library's error if it cannot set up a logger.
void init_loggers(const LogLevelConfig& config, bool colours, const SinkMaker& make_preferred_sink);

/// Writes everything that is still queued and ends the back end. Nothing may log afterwards.
void stop_logging();

} // namespace Logger
