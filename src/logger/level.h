#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Logger {

/// Severity of a log statement, lowest first. The values are those of the logging library.
enum class Level : std::uint8_t {
    TraceL3,
    TraceL2,
    TraceL1,
    Debug,
    Info,
    Notice,
    Warning,
    Error,
    Critical,
    Backtrace,
    None,
    Dynamic,
};

/// The `log_level` setting: a default level, and the levels of single loggers by name.
struct LogLevelConfig {
    Level default_level = Level::Info;
    std::unordered_map<std::string, Level> logger_levels;
};

/// Returns the level's lower-case name in the configuration; for a value that is not an enumerator, the name of the
/// first one.
std::string_view level_name(Level level);

/// Parses a comma-separated list of "LEVEL", which sets the default level, and "LOGGER=LEVEL". A later item overrides
/// an earlier one for the same logger. Never fails: a word other than the names from "tracel3" to "critical", including
/// the empty word after a trailing comma, means Level::None, and an empty text gives a default LogLevelConfig. "WORD="
/// is read as "WORD".
LogLevelConfig parse_log_level_config(std::string_view text);

/// Returns the text form that parse_log_level_config() parses, with the loggers in the map's iteration order.
std::string format_log_level_config(const LogLevelConfig& config);

} // namespace Logger
