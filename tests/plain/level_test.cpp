#include "logger/level.h"

#include <gmock/gmock.h>

using namespace testing;

using Logger::Level;
using Logger::parse_log_level_config;

TEST(LevelConfig, has_the_level_of_the_last_item_without_a_logger_name) {
    const std::pair<const char*, Level> cases[] = {{"", Level::Info}, {"Info", Level::None}, {"inf", Level::None}, {"infos", Level::None}, {"info,", Level::None}, {",info", Level::Info},
        {"main=", Level::None}, {"debug=", Level::Debug}, {"debug,error", Level::Error}, {"main=debug", Level::Info}};
    for (const auto& [text, level] : cases) { EXPECT_EQ(parse_log_level_config(text).default_level, level) << text; }
}

TEST(LevelConfig, is_read_back_as_it_was_written_if_it_can_be_set) {
    for (int code = 0; code < 13; ++code) {
        const auto level = static_cast<Level>(code);
        EXPECT_EQ(parse_log_level_config(level_name(level)).default_level, code == 12 ? Level::TraceL3 : level <= Level::Critical ? level : Level::None) << code;
    }
    const auto config = parse_log_level_config("debug,dll=warning,main=error,main=x=y,=info,dll=notice");
    EXPECT_EQ(config.default_level, Level::Debug);
    EXPECT_THAT(config.logger_levels, UnorderedElementsAre(Pair("dll", Level::Notice), Pair("main", Level::None), Pair("", Level::Info)));
    const std::string text = format_log_level_config(config);
    EXPECT_TRUE(text.starts_with("debug,") && parse_log_level_config(text).logger_levels == config.logger_levels) << text;
}
