#include "winconv/convert.h"

#include "winconv/error_text.h"
#include "winconv/time_text.h"

#include <gtest/gtest.h>

#include <windows.h>

using WinConv::format_error_code;
using WinConv::native_to_utf8;
using WinConv::utf8_to_native;

TEST(Conversion, keeps_characters_of_every_plane_up_to_a_nul_and_replaces_what_is_ill_formed) {
    const std::string utf8 = "aé€\xF0\x9F\xA6\x85";
    EXPECT_EQ(utf8_to_native(utf8), L"a\u00e9\u20ac\U0001f985");
    EXPECT_EQ(native_to_utf8(utf8_to_native(utf8)), utf8);
    EXPECT_EQ(utf8_to_native(std::string_view("ab\0cd", 5)), L"ab");
    EXPECT_EQ(native_to_utf8(std::wstring_view(L"ab\0cd", 5)), "ab");
    EXPECT_EQ(utf8_to_native("a\xFFz"), L"a\ufffdz");
    EXPECT_EQ(native_to_utf8(L"a\xD800z"), "a\xEF\xBF\xBDz");
}

TEST(ErrorText, is_the_windows_update_message_of_a_code_or_else_the_systems_to_the_full_stop) {
    EXPECT_EQ(format_error_code(0x80240022), "0x80240022 - Operation failed for all the updates.");
    EXPECT_EQ(format_error_code(0x80243FFF), "0x80243fff - There was a user interface error not covered by another "
                                             "WU_E_AUCLIENT_ * error code.");
    EXPECT_EQ(format_error_code(0x80070422), "0x80070422 - Windows Update service stopped working or isn't running.");
    EXPECT_EQ(WinConv::windows_update_error_message(0x80240000), "");
    EXPECT_EQ(format_error_code(0x2FFFFFFF), "0x2fffffff - unknown error");
}

TEST(HresultMessage, is_the_systems_without_its_line_end_or_made_up_by_the_com_rule) {
    const auto message = [](unsigned code) {
        return ComHelpers::HresultErrorCategory::instance().message(static_cast<int>(code));
    };
    EXPECT_EQ(message(0x8004ABCD), "IDispatch error #43469");
    EXPECT_EQ(message(0x8004FFFF), "IDispatch error #65023");
    EXPECT_EQ(message(0x800AABCD), "Unknown error 0x800AABCD");
    EXPECT_EQ("0x5 - " + message(ERROR_ACCESS_DENIED), format_error_code(ERROR_ACCESS_DENIED));
}

TEST(UtcText, has_seven_digits_of_the_second) {
    EXPECT_EQ(WinConv::utc_text(std::chrono::sys_time<WinConv::Ticks>(WinConv::Ticks(17383323094812345))),
              "2025-01-31 14:05:09.4812345");
    EXPECT_EQ(WinConv::utc_text({}), "1970-01-01 00:00:00.0000000");
}
