#pragma once

#include "logger/level.h"

#include <quill/sinks/Sink.h>

#include <functional>
#include <memory>

namespace Logger {

/// Creates the sink that is used if standard output is not a terminal. Throws std::exception on failure.
using SinkMaker = std::function<std::shared_ptr<quill::Sink>()>;

/// Starts the logging back end and creates the loggers of logger/log.h, each with its level from `config`.
///
/// Statements go to standard output if it is a terminal, in colour if `colours` is set. Otherwise they go to the
/// preferred sink, as messages without a prefix. If that sink cannot be created, they go to "corvel.log" in the working
/// directory and, if that fails too, to standard output; the reason is logged at Info level. Call this function once,
/// before anything logs. Throws the logging library's exception if a logger cannot be created.
void init_loggers(const LogLevelConfig& config, bool colours, const SinkMaker& make_preferred_sink);

/// Writes everything that is still queued and stops the back end. Nothing may log afterwards.
void stop_logging();

} // namespace Logger
