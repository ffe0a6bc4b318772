#include "winconv/time_text.h"

#include <gtest/gtest.h>

TEST(UtcText, has_seven_digits_of_the_second) {
    EXPECT_EQ(WinConv::utc_text(std::chrono::sys_time<WinConv::Ticks>(WinConv::Ticks(17383323094812345))), "2025-01-31 14:05:09.4812345");
    EXPECT_EQ(WinConv::utc_text({}), "1970-01-01 00:00:00.0000000");
}
