#include "logger/level.h"

#include <gmock/gmock.h>

using Logger::Level;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

struct DefaultLevelCase {
    const char* text;
    Level level;
};

class DefaultLevel : public testing::TestWithParam<DefaultLevelCase> {};

TEST_P(DefaultLevel, is_the_last_item_without_a_logger_name) {
    EXPECT_EQ(Logger::parse_log_level_config(GetParam().text).default_level, GetParam().level) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Log, DefaultLevel,
    testing::Values(DefaultLevelCase{"", Level::Info}, DefaultLevelCase{"tracel3", Level::TraceL3},
                    DefaultLevelCase{"critical", Level::Critical}, DefaultLevelCase{"notice", Level::Notice},
                    DefaultLevelCase{"Info", Level::None}, DefaultLevelCase{"inf", Level::None},
                    DefaultLevelCase{"infos", Level::None}, DefaultLevelCase{"backtrace", Level::None},
                    DefaultLevelCase{"dynamic", Level::None}, DefaultLevelCase{"debug,error", Level::Error},
                    DefaultLevelCase{"info,", Level::None}, DefaultLevelCase{",info", Level::Info},
                    DefaultLevelCase{"main=", Level::None}, DefaultLevelCase{"debug=", Level::Debug},
                    DefaultLevelCase{"main=debug", Level::Info}));

TEST(LoggerLevels, are_the_items_with_a_name_and_a_level_of_which_the_last_holds) {
    const auto config = Logger::parse_log_level_config("debug,dll=warning,main=error,main=x=y,=info,dll=notice");
    EXPECT_EQ(config.default_level, Level::Debug);
    EXPECT_THAT(config.logger_levels,
                UnorderedElementsAre(Pair("dll", Level::Notice), Pair("main", Level::None), Pair("", Level::Info)));
}

TEST(LevelText, is_what_was_parsed) {
    for (const char* text : {"tracel1", "debug,dll=warning", "none,main=critical"}) {
        EXPECT_EQ(Logger::format_log_level_config(Logger::parse_log_level_config(text)), text);
    }
    EXPECT_EQ(Logger::level_name(static_cast<Level>(11)), "dynamic");
    EXPECT_EQ(Logger::level_name(static_cast<Level>(12)), "tracel3");
}

} // namespace
