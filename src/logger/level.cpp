#include "logger/level.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace Logger {

namespace {

constexpr std::array<std::string_view, 12> level_names = {
    "tracel3", "tracel2", "tracel1",  "debug",     "info", "notice",
    "warning", "error",   "critical", "backtrace", "none", "dynamic",
};

Level parse_level(std::string_view name) {
    const auto found = std::ranges::find(level_names, name);
    const auto level = static_cast<Level>(found - level_names.begin());
    return level <= Level::Critical ? level : Level::None;
}

void apply_item(std::string_view item, LogLevelConfig& config) {
    const auto equals = item.find('=');
    if (equals != std::string_view::npos && equals + 1 < item.size()) {
        config.logger_levels.insert_or_assign(std::string(item.substr(0, equals)),
                                              parse_level(item.substr(equals + 1)));
    } else {
        config.default_level = parse_level(item.substr(0, equals));
    }
}

} // namespace

std::string_view level_name(Level level) {
    return static_cast<std::size_t>(level) < level_names.size() ? level_names[static_cast<std::size_t>(level)]
                                                                : level_names.front();
}

LogLevelConfig parse_log_level_config(std::string_view text) {
    LogLevelConfig config;
    if (text.empty()) {
        return config;
    }
    for (auto comma = text.find(','); comma != std::string_view::npos; comma = text.find(',')) {
        apply_item(text.substr(0, comma), config);
        text.remove_prefix(comma + 1);
    }
    apply_item(text, config);
    return config;
}

std::string format_log_level_config(const LogLevelConfig& config) {
    if (config.logger_levels.empty()) {
        return std::string(level_name(config.default_level));
    }
    std::vector<std::string> entries;
    entries.reserve(config.logger_levels.size());
    for (const auto& [logger, level] : config.logger_levels) {
        entries.push_back(fmt::format("{}={}", logger, level_name(level)));
    }
    return fmt::format("{},{}", level_name(config.default_level), fmt::join(entries, ","));
}

} // namespace Logger
