#pragma once

#include <string>
#include <vector>

namespace CommandLine {

/// Splits a command line as the system does and returns what follows the program's name, in UTF-8. Throws
/// std::system_error if the system has to be asked and cannot split it.
std::vector<std::string> split(const wchar_t* command_line);

/// Returns the process's arguments without the program's name. They come from the system's own command line: the narrow
/// one of the C library has lost every character that the code page lacks, and expands wildcards. Throws as split().
std::vector<std::string> arguments();

} // namespace CommandLine
