#include "fakes/imports.h"
#include "support/recorded_log.h"
#include "winconv/convert.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using WinConv::native_to_utf8;
using WinConv::utf8_to_native;

namespace {

TEST(Conversion, keeps_characters_of_every_plane_both_ways) {
    const std::string utf8 = "aé€\xF0\x9F\xA6\x85";
    EXPECT_EQ(utf8_to_native(utf8), L"a\u00e9\u20ac\U0001f985");
    EXPECT_EQ(native_to_utf8(utf8_to_native(utf8)), utf8);
    EXPECT_EQ(native_to_utf8(utf8_to_native("")), "");
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
}

TEST(Conversion, ends_at_an_embedded_nul_and_replaces_what_is_ill_formed) {
    EXPECT_EQ(utf8_to_native(std::string_view("ab\0cd", 5)), L"ab");
    EXPECT_EQ(native_to_utf8(std::wstring_view(L"ab\0cd", 5)), "ab");
    EXPECT_EQ(utf8_to_native("a\xFFz"), L"a\ufffdz");
    EXPECT_EQ(native_to_utf8(L"a\xD800z"), "a\xEF\xBF\xBDz");
}

TEST(Conversion, that_the_system_refuses_is_empty_and_logged) {
    const auto refuse = [](auto...) {
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        return 0;
    };
    const Fakes::Replacement wide(Fakes::MultiByteToWideChar, refuse);
    EXPECT_EQ(utf8_to_native("a\xFFz"), L"");
    EXPECT_THAT(RecordedLog::take(), ElementsAre("critical utf8_to_native: Multi-byte to UCS-2 conversion failed for "
                                                 "string \"a\\xFFz\" (error code: 1113)"));

    const std::string narrow_message =
        "critical native_to_utf8: UCS-2 to multi-byte conversion failed (error code: 1113)";
    {
        const Fakes::Replacement narrow(Fakes::WideCharToMultiByte, refuse);
        EXPECT_EQ(native_to_utf8(L"a"), "");
        EXPECT_THAT(RecordedLog::take(), ElementsAre(narrow_message));
    }
    const Fakes::Replacement second_call(
        Fakes::WideCharToMultiByte,
        [&](auto, auto, auto, auto, const char* out, auto...) { return out == nullptr ? 1 : refuse(); });
    EXPECT_EQ(native_to_utf8(L"a"), "");
    EXPECT_THAT(RecordedLog::take(), ElementsAre(narrow_message));
}

} // namespace
