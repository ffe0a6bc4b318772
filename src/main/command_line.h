#pragma once

#include <string>
#include <vector>

namespace CommandLine {

/// Returns the process's arguments in UTF-8, the program's name first. They come from the system's own command line:
/// the narrow one of the C library has lost every character that the code page lacks, and expands wildcards.
/// Throws std::system_error if the system cannot split the command line.
std::vector<std::string> arguments();

} // namespace CommandLine
