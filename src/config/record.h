#pragma once

#include "config/uuid.h"
#include "logger/level.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Config {

/// How strictly a release must be signed before the agent takes it.
enum class SelfUpdateProfile : std::uint8_t { Unsigned = 0, Test = 1, Production = 2 };

/// Returns the profile's name in the configuration; a code that is not a profile has the name of code 0.
std::string_view profile_name(SelfUpdateProfile profile);

/// The configuration that the agent and this tool share. Texts are UTF-8.
struct Record {
    Record();

    std::string webapp_addr;
    Uuid tenant_id;
    Uuid host_id;
    Logger::LogLevelConfig log_level;
    std::string self_update_addr;
    SelfUpdateProfile self_update_profile = SelfUpdateProfile::Production;
    bool self_update = true;
    bool skip_power_check = false;
};

/// Returns the keys in the order in which they are read and applied.
std::vector<std::string> keys();

/// The process's one configuration record: defaults until config_load(). Main thread only.
Record& current();

/// Tells whether the text is JSON without comments, in memory that hardly grows with it.
bool is_json(std::string_view text);

/// Stores the keys that a JSON text holds; the others stay as they are, and a value that is not an object holds none.
/// Throws nlohmann::json::exception if the text is not JSON or a value has the wrong type; the keys before that one are
/// stored by then.
void read_json(std::string_view text, Record& record);

/// Returns all keys as compact JSON in ascending order, without a line feed: the form of the file.
std::string serialise(const Record& record);

/// Stores a value that is given as text, on the command line or in the environment, in the field of that key, one of
/// keys(). The text is JSON; for texts, UUIDs and truth values, one that is not JSON stands for the string of its
/// characters. Returns nothing, or why the value is refused, with the field as it was.
std::optional<std::string> set_value(Record& record, std::string_view key, const std::string& text);

/// Tells whether the key's field is a UUID and nil.
bool holds_nil_uuid(const Record& record, std::string_view key);

} // namespace Config
