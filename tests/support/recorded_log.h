#pragma once

#include "logger/level.h"

#include <quill/sinks/Sink.h>

#include <memory>
#include <string>
#include <vector>

namespace RecordedLog {

/// Makes the sink that keeps statements, each line as "LEVEL FUNCTION: MESSAGE".
std::shared_ptr<quill::Sink> make_sink();

/// Gives every named logger that sink. Called once, before the first test.
void start();

/// Returns what the sink was handed since the last call; call it with the back end idle or stopped.
std::vector<std::string> taken();

/// Returns what was logged since the last call.
std::vector<std::string> take();

} // namespace RecordedLog
