#include "config/record.h"

#include "config/internal/endpoints.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace Logger {

// In the type's own namespace, where argument-dependent lookup finds them.
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

// Calls `visit(key, field)` for each key, in the order in which keys are read and applied.
template <typename AnyRecord, typename Visitor>
void for_each_field(AnyRecord&& record, const Visitor& visit) {
    visit("webapp_addr", record.webapp_addr);
    visit("tenant_id", record.tenant_id);
    visit("host_id", record.host_id);
    visit("log_level", record.log_level);
    visit("self_update_addr", record.self_update_addr);
    visit("self_update_profile", record.self_update_profile);
    visit("self_update", record.self_update);
    visit("skip_power_check", record.skip_power_check);
}

} // namespace

// Outside the unnamed namespace, in which argument-dependent lookup would not find them.
static void to_json(nlohmann::json& json, const Uuid& uuid) {
    json = uuid.text();
}

static void from_json(const nlohmann::json& json, Uuid& uuid) {
    uuid = Uuid::parse(json.get<std::string>());
}

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

namespace {

template <typename T>
T value_of(const std::string& text) {
    nlohmann::json json = nlohmann::json::parse(text, nullptr, must_be_json<T>);
    if (json.is_discarded()) {
        json = text;
    }
    return json.get<T>();
}

} // namespace

std::string_view profile_name(SelfUpdateProfile profile) {
    const auto code = static_cast<std::size_t>(profile);
    return code < profile_names.size() ? profile_names[code] : profile_names.front();
}

Record::Record() : webapp_addr(default_webapp_addr), self_update_addr(default_self_update_addr) {}

std::vector<std::string> keys() {
    std::vector<std::string> names;
    for_each_field(Record(), [&](const char* key, const auto& /*field*/) { names.emplace_back(key); });
    return names;
}

Record& current() {
    static Record record;
    return record;
}

bool is_json(std::string_view text) {
    // The library treats a NUL as the end of the text.
    return text.find('\0') == std::string_view::npos && nlohmann::json::accept(text);
}

void read_json(std::string_view text, Record& record) {
    if (const auto nul = text.find('\0'); nul != std::string_view::npos) {
        throw nlohmann::json::parse_error::create(101, nul + 1, "NUL byte in JSON text", nullptr);
    }
    // Nested values are discarded while parsing: no key has one, and a file of brackets alone would need a hundred
    // times its size in memory.
    const auto json = nlohmann::json::parse(text, [](int depth, auto, const auto&) { return depth < 2; });
    for_each_field(record, [&](const char* key, auto& field) {
        if (const auto found = json.find(key); found != json.end()) {
            found->get_to(field);
        }
    });
}

std::string serialise(const Record& record) {
    nlohmann::json json;
    for_each_field(record, [&](const char* key, const auto& field) { json[key] = field; });
    return json.dump();
}

std::optional<std::string> set_value(Record& record, std::string_view key, const std::string& text) {
    std::optional<std::string> refusal;
    for_each_field(record, [&]<typename T>(std::string_view each, T& field) {
        if (each == key) {
            try {
                field = value_of<T>(text);
            } catch (const nlohmann::json::exception& error) {
                refusal = error.what();
            }
        }
    });
    return refusal;
}

bool holds_nil_uuid(const Record& record, std::string_view key) {
    bool nil = false;
    for_each_field(record, [&]<typename T>(std::string_view each, const T& field) {
        if constexpr (std::is_same_v<T, Uuid>) {
            nil = nil || (each == key && field.is_nil());
        }
    });
    return nil;
}

} // namespace Config
