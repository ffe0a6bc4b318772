#pragma once

#include "config/uuid.h"
#include "logger/level.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace Config {

/// How strictly a release must be signed before the agent takes it.
enum class SelfUpdateProfile : std::uint8_t { Unsigned = 0, Test = 1, Production = 2 };

/// Returns the profile's name in the configuration; a code that is no profile has the name of code 0.
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

/// Calls `visit(key, member)` for each key of the configuration in the order in which keys are read and applied.
template <typename Visitor>
void for_each_key(const Visitor& visit) {
    visit("webapp_addr", &Record::webapp_addr);
    visit("tenant_id", &Record::tenant_id);
    visit("host_id", &Record::host_id);
    visit("log_level", &Record::log_level);
    visit("self_update_addr", &Record::self_update_addr);
    visit("self_update_profile", &Record::self_update_profile);
    visit("self_update", &Record::self_update);
    visit("skip_power_check", &Record::skip_power_check);
}

/// The process's one configuration record: defaults until config_load(). Main thread only.
Record& current();

/// Tells whether parse_json() would take the text, in memory that hardly grows with it.
bool is_json(std::string_view text);

/// Parses JSON text as deep as a key's value; what is nested in that is left out. Comments are not allowed. Throws
/// nlohmann::json::parse_error, also at a NUL byte, which the library by itself takes for the end of the text.
nlohmann::json parse_json(std::string_view text);

/// Stores the keys that the JSON value holds; the others stay as they are, and a value that is no object holds none.
/// Throws nlohmann::json::exception at the first value of the wrong type, the earlier ones being stored by then.
void from_json(const nlohmann::json& json, Record& record);

/// Returns all eight keys as compact JSON in ascending order, without a line feed: the form of the file.
std::string serialise(const Record& record);

/// Reads a value given as text, on the command line or in the environment, for a field of type T.
/// The text is JSON. For texts, UUIDs and truth values, one that is no JSON stands for the string of its characters;
/// log levels and profiles have no such fall-back. Throws nlohmann::json::exception.
template <typename T>
T text_to_value(std::string_view text);

} // namespace Config
