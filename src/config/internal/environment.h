#pragma once

#include "config/record.h"

#include <optional>
#include <string>
#include <vector>

namespace Config {

/// Returns a variable of the process environment in UTF-8, nothing if it is not set.
std::optional<std::string> read_environment(const std::string& name);

/// A variable that is set, and why its value was ignored if it was.
struct Override {
    std::string variable;
    std::optional<std::string> error;
};

/// Overwrites the fields whose variable (the key in upper case) is set, in the order of keys, and returns those
/// variables. A value that cannot be converted leaves its field as it was.
std::vector<Override> apply_environment(Record& record);

} // namespace Config
