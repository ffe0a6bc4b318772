#include "winconv/convert.h"

#include <gtest/gtest.h>

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
