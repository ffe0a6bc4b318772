#pragma once

#include <span>
#include <string>

namespace Commands {

/// Runs the command that the arguments (UTF-8, without the program's name) select, or prints the usage, and returns the
/// exit status. A CorvelFatalException is printed to standard error; other exceptions are not caught.
int dispatch(std::span<const std::string> arguments);

} // namespace Commands
