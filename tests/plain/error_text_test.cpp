#include "winconv/error_text.h"

#include <gtest/gtest.h>

#include <windows.h>

using WinConv::format_error_code;

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
