#include "config/record.h"

#include "config/internal/endpoints.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>

namespace Logger {

// Found by argument-dependent look-up, so in the type's own namespace.
static void to_json(nlohmann::json& json, const LogLevelConfig& config) {
    json = format_log_level_config(config);
}

static void from_json(const nlohmann::json& json, LogLevelConfig& config) {
    config = parse_log_level_config(json.get<std::string>());
}

} // namespace Logger

namespace Config {

namespace {

constexpr std::array<std::string_view, 3> profile_names = {"unsigned", "test", "production"};

template <typename T>
constexpr bool must_be_json = std::is_same_v<T, Logger::LogLevelConfig> || std::is_same_v<T, SelfUpdateProfile>;

} // namespace

// Found by argument-dependent look-up, which does not see into the unnamed namespace.
static void to_json(nlohmann::json& json, SelfUpdateProfile profile) {
    json = profile_name(profile);
}

static void from_json(const nlohmann::json& json, SelfUpdateProfile& profile) {
    const auto name = json.get<std::string>();
    const auto found = std::ranges::find(profile_names, name);
    if (found == profile_names.end()) {
        throw nlohmann::json::other_error::create(
            501, fmt::format("value must be one of {}", fmt::join(profile_names, ", ")), &json);
    }
    profile = static_cast<SelfUpdateProfile>(found - profile_names.begin());
}

std::string_view profile_name(SelfUpdateProfile profile) {
    const auto code = static_cast<std::size_t>(profile);
    return code < profile_names.size() ? profile_names[code] : profile_names.front();
}

Record::Record() : webapp_addr(default_webapp_addr), self_update_addr(default_self_update_addr) {}

Record& current() {
    static Record record;
    return record;
}

bool is_json(std::string_view text) {
    return text.find('\0') == std::string_view::npos && nlohmann::json::accept(text);
}

nlohmann::json parse_json(std::string_view text) {
    if (const auto nul = text.find('\0'); nul != std::string_view::npos) {
        throw nlohmann::json::parse_error::create(101, nul + 1, "NUL byte in JSON text", nullptr);
    }
    // What is nested in a key's value is of no use, and a text of brackets alone would take a hundred times its size.
    return nlohmann::json::parse(text, [](int depth, auto, const auto&) { return depth < 2; });
}

void from_json(const nlohmann::json& json, Record& record) {
    for_each_key([&](const char* key, auto member) {
        if (const auto found = json.find(key); found != json.end()) {
            found->get_to(record.*member);
        }
    });
}

std::string serialise(const Record& record) {
    nlohmann::json json;
    for_each_key([&](const char* key, auto member) { json[key] = record.*member; });
    return json.dump();
}

template <typename T>
T text_to_value(std::string_view text) {
    if constexpr (must_be_json<T>) {
        return nlohmann::json::parse(text).get<T>();
    } else {
        auto json = nlohmann::json::parse(text, nullptr, false);
        if (json.is_discarded()) {
            json = text;
        }
        return json.get<T>();
    }
}

template std::string text_to_value(std::string_view text);
template Uuid text_to_value(std::string_view text);
template Logger::LogLevelConfig text_to_value(std::string_view text);
template SelfUpdateProfile text_to_value(std::string_view text);
template bool text_to_value(std::string_view text);

} // namespace Config
