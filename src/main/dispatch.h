#pragma once

#include <span>
#include <string>

namespace Commands {

/// Runs the command that the arguments (UTF-8, without the program's name) ask for, or shows the usage, and returns the
/// exit status. A fatal condition is printed to standard error; any other exception is the caller's.
int dispatch(std::span<const std::string> arguments);

} // namespace Commands
