#pragma once

#include "config/record.h"

#include <optional>
#include <string>

namespace Config {

/// Returns a variable of the process environment in UTF-8, nothing if it is not set.
std::optional<std::string> read_environment(const std::string& name);

/// Overwrites the fields whose variable (the key in upper case) is set, in the order of keys. A value that cannot be
/// converted is reported at Error level and leaves its field as it was.
void apply_environment(Record& record);

} // namespace Config
