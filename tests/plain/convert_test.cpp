#include "winconv/convert.h"

#include <gtest/gtest.h>

TEST(Conversion, keeps_characters_of_every_plane_up_to_a_nul_and_replaces_what_is_ill_formed) {
    const std::pair<std::string, std::wstring> cases[] = {{"aé€\xF0\x9F\xA6\x85", L"a\u00e9\u20ac\U0001f985"}, {{"ab\0c", 4}, {L"ab\0c", 4}}};
    for (const auto& [utf8, native] : cases) {
        EXPECT_EQ(WinConv::utf8_to_native(utf8), native.c_str());
        EXPECT_EQ(WinConv::native_to_utf8(native), utf8.c_str());
    }
    EXPECT_EQ(WinConv::utf8_to_native("a\xFFz"), L"a\ufffdz");
    EXPECT_EQ(WinConv::native_to_utf8(L"a\xD800z"), "a\xEF\xBF\xBDz");
}
