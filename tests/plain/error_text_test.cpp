#include "winconv/error_text.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <windows.h>

using WinConv::format_error_code;

TEST(ErrorText, is_the_windows_update_message_of_a_code_or_else_the_systems_to_the_full_stop) {
    EXPECT_EQ(format_error_code(0x80070422), "0x80070422 - Windows Update service stopped working or isn't running.");
    EXPECT_EQ(format_error_code(0x2FFFFFFF), "0x2fffffff - unknown error");
    // Texts of the system keep their placeholders.
    EXPECT_THAT(format_error_code(ERROR_BAD_EXE_FORMAT), testing::HasSubstr("%1"));
}

TEST(ErrorText, of_every_windows_update_code_is_the_documented_one) {
    std::uint64_t checksum = 14695981039346656037U; // FNV-1a over codes and texts
    int count = 0;
    for (std::uint32_t code = 0x80240000; code <= 0x80250000; ++code) {
        const std::string_view text = WinConv::windows_update_error_message(code);
        count += text.empty() ? 0 : 1;
        for (const char character : text.empty() ? "" : fmt::format("{:X}\t{}\n", code, text)) { checksum = (checksum ^ static_cast<unsigned char>(character)) * 1099511628211U; }
    }
    EXPECT_EQ(count, 249);
    EXPECT_EQ(checksum, 4597880442712991555U);
}

TEST(HresultMessage, is_the_systems_without_its_line_end_or_made_up_by_the_com_rule) {
    const auto message = [](unsigned code) { return ComHelpers::HresultErrorCategory::instance().message(static_cast<int>(code)); };
    EXPECT_EQ(message(0x8004ABCD), "IDispatch error #43469");
    EXPECT_EQ(message(0x800AABCD), "Unknown error 0x800AABCD");
    EXPECT_EQ("0x5 - " + message(ERROR_ACCESS_DENIED), format_error_code(ERROR_ACCESS_DENIED));
}
