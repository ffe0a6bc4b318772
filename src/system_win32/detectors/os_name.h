#pragma once

#include "system_win32/detectors/os_facts.h"

#include <string>

namespace System {

/// The name of an operating system in the style of security advisories, and whether its parts were recognised.
struct OsName {
    std::string name; ///< "Windows Unknown" if the version is not recognised
    bool known_version = true;
    bool known_architecture = true; ///< also true if it is not part of the name
};

/// Derives the name from the facts alone.
OsName name_operating_system(const OsFacts& facts);

/// Queries the facts and returns the name. A version or architecture that is not recognised is logged. Throws what
/// query_os_facts() throws.
std::string detect_os_name();

} // namespace System
