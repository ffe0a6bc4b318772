#include "logger/level.h"

#include <gmock/gmock.h>

using Logger::Level;
using Logger::parse_log_level_config;

TEST(LevelConfig, has_the_level_of_the_last_item_without_a_logger_name) {
    const std::pair<const char*, Level> cases[] = {
        {"", Level::Info},         {"tracel3", Level::TraceL3}, {"critical", Level::Critical},
        {"notice", Level::Notice}, {"Info", Level::None},       {"inf", Level::None},
        {"infos", Level::None},    {"backtrace", Level::None},  {"dynamic", Level::None},
        {"info,", Level::None},    {",info", Level::Info},      {"debug,error", Level::Error},
        {"main=", Level::None},    {"debug=", Level::Debug},    {"main=debug", Level::Info},
    };
    for (const auto& [text, level] : cases) {
        EXPECT_EQ(parse_log_level_config(text).default_level, level) << text;
    }
}

TEST(LevelConfig, has_the_last_level_given_for_each_logger) {
    const auto config = parse_log_level_config("debug,dll=warning,main=error,main=x=y,=info,dll=notice");
    EXPECT_EQ(config.default_level, Level::Debug);
    EXPECT_THAT(config.logger_levels,
                testing::UnorderedElementsAre(testing::Pair("dll", Level::Notice), testing::Pair("main", Level::None),
                                              testing::Pair("", Level::Info)));
}
