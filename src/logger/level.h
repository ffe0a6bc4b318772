#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Logger {

/// Severity of a log statement, lowest first. The numbers are the logging library's own.
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

/// The `log_level` setting: the level of every logger that has no entry of its own.
struct LogLevelConfig {
    Level default_level = Level::Info;
    std::unordered_map<std::string, Level> logger_levels;
};

/// Returns the level's lower-case name as configurations spell it; a code that is no level has the name of code 0.
std::string_view level_name(Level level);

/// Reads "LEVEL", "NAME=LEVEL" or several of them joined by commas; of two items for one logger the later one holds.
/// Never fails: a word that is not a settable level (also the empty word after a final comma) means Level::None,
/// and an empty text means the default LogLevelConfig. "NAME=" sets the default level from the word NAME.
LogLevelConfig parse_log_level_config(std::string_view text);

/// Returns the text form that parse_log_level_config() reads, entries in the map's iteration order.
std::string format_log_level_config(const LogLevelConfig& config);

} // namespace Logger
