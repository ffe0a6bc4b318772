#pragma once

#include "config/record.h"

#include <optional>
#include <string>
#include <vector>

namespace Config {

/// Returns the value of an environment variable in UTF-8, or std::nullopt if the variable is not set.
std::optional<std::string> read_environment(const std::string& name);

/// An environment variable that is set, with the reason if its value was refused. Strings are UTF-8.
struct Override {
    std::string variable;
    std::optional<std::string> error;
};

/// Overwrites each field whose environment variable (the key in upper case) is set, in the order of keys(), and returns
/// those variables. A value that is refused leaves its field unchanged.
std::vector<Override> apply_environment(Record& record);

} // namespace Config
