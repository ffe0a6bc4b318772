#pragma once

#include "logger/level.h"

#include <string>
#include <vector>

namespace RecordedLog {

/// Gives every named logger a sink that keeps its statements. Called once, before the first test.
void start();

/// Returns what was logged since the last call, each as "LEVEL FUNCTION: MESSAGE".
std::vector<std::string> take();

} // namespace RecordedLog
