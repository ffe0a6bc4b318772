#pragma once

#include "system_win32/detectors/os_facts.h"

#include <string>

namespace System {

/// The name of an operating system in the style of security advisories, and what could not be told.
struct OsName {
    std::string name; ///< "Windows Unknown" for a version that is not known
    bool known_version = true;
    bool known_architecture = true; ///< or not part of the name
};

/// Makes the name from the facts alone.
OsName name_operating_system(const OsFacts& facts);

/// Asks the system for the facts and returns the name; what could not be told is logged. Throws CorvelFatalException
/// where query_os_facts() does.
std::string detect_os_name();

} // namespace System
