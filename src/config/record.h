#pragma once

#include "config/uuid.h"
#include "logger/level.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Config {

/// Which signatures the agent requires before it installs a release.
enum class SelfUpdateProfile : std::uint8_t { Unsigned = 0, Test = 1, Production = 2 };

/// Returns the profile's name in the configuration; for a value that is not an enumerator, the name of the first one.
std::string_view profile_name(SelfUpdateProfile profile);

/// The configuration that the agent and this tool share. Strings are UTF-8.
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

/// Returns the configuration record of the process, which holds the defaults until config_load() is called. Main thread
/// only.
Record& current();

/// Returns whether the text is valid JSON; comments are not allowed. Builds no document, so that memory use hardly
/// depends on the size of the text.
bool is_json(std::string_view text);

/// Stores the fields that a JSON text (UTF-8) contains and leaves the others unchanged. A JSON value other than an
/// object contains no fields. Throws nlohmann::json::exception if the text is not valid JSON or if a value has the
/// wrong type; the fields before that one have then been stored.
void read_json(std::string_view text, Record& record);

/// Returns the record as compact JSON, as it is stored in the file: keys in ascending order, no trailing line feed.
std::string serialise(const Record& record);

/// Parses a value from the command line or the environment and stores it in the field of `key`, which is one of keys().
/// The text is read as JSON; for string, UUID and Boolean fields, text that is not valid JSON is taken as a string.
/// Returns std::nullopt, or the reason why the value is refused, in which case the field is unchanged.
std::optional<std::string> set_value(Record& record, std::string_view key, const std::string& text);

/// Returns whether the field of `key` is a UUID field that holds the nil UUID.
bool holds_nil_uuid(const Record& record, std::string_view key);

} // namespace Config
