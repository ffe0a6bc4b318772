#include "files/content.h"

#include "support/unit_test.h"

using namespace testing;

const std::filesystem::path target = L"corvel-\u20ac.json";
const std::string content("x\0y\r\n\xFF", 6);

TEST(AtomicWrite, replaces_the_file_by_a_new_one_whatever_stands_in_the_way_even_by_short_and_interrupted_writes) {
    const TemporaryFolder folder;
    const std::filesystem::path temporary = L"corvel-\u20ac.json._corvel_tmp";
    put_file(target, "old");
    put_file("planted", "another link to what was left there, longer than what is written");
    std::filesystem::create_hard_link("planted", temporary);
    SetFileAttributesW(L"planted", FILE_ATTRIBUTE_READONLY);
    int interruptions = 3;
    const Fakes::Replacement write(Fakes::WriteFile, [&](auto file, auto bytes, DWORD length, auto... rest) {
        return interruptions-- > 0 ? Fakes::refuse(ERROR_NO_PROC_SLOTS, FALSE) // "try again" in the terms of POSIX
                                   : (*Fakes::WriteFile.original)(file, bytes, std::min(length, 2UL), rest...);
    });
    EXPECT_FALSE(Files::write_atomically(target, content, 0444));
    EXPECT_EQ(get_file(target), content);
    EXPECT_TRUE((GetFileAttributesW(target.c_str()) & FILE_ATTRIBUTE_READONLY) != 0);
    EXPECT_THAT(get_file("planted"), StartsWith("another"));
    EXPECT_FALSE(std::filesystem::exists(temporary));
}

TEST(Read, opens_a_long_path_in_the_form_without_limit_and_names_it_as_given) {
    const std::wstring folder = L"\\" + std::wstring(300, L'x');
    for (const auto& [root, extended] : {std::pair(L"C:", L"\\\\?\\C:"), {L"\\\\a\\b", L"\\\\?\\UNC\\a\\b"}, {L"\\\\?\\C:", L"\\\\?\\C:"}}) {
        const Fakes::Replacement open(Fakes::CreateFileW, [expected = extended + folder](LPCWSTR opened, auto...) {
            EXPECT_EQ(opened, expected);
            return Fakes::refuse(ERROR_FILE_NOT_FOUND, INVALID_HANDLE_VALUE);
        });
        EXPECT_THAT([path = root + folder] { Files::read(path); }, ThrowsMessage<std::system_error>(StartsWith("read: " + std::filesystem::path(root).string() + "\\x")));
    }
}
