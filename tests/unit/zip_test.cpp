#include "zip/zip.h"

#include "support/archive.h"
#include "support/unit_test.h"

using namespace testing;

namespace {

class WriteZip : public testing::Test {
protected:
    TemporaryFolder folder;
    std::string large = std::string(300000, '\0'); // what deflate cannot make smaller

    void SetUp() override {
        std::ranges::generate(large, [random = std::mt19937()]() mutable { return static_cast<char>(random()); });
        put_file("a.log", "small");
        put_file("b.log", large);
        put_file("c.log", "last");
    }

    static bool write() {
        const auto file = [](const char* name) { return [=](Zip::Writer& writer) { return Zip::zip_add_file(writer, name, {}); }; };
        return Zip::write_zip("a.zip", {file("a.log"), file("b.log"), file("c.log")});
    }
    static auto members() {
        auto members = Archive("a.zip").members;
        std::ranges::for_each(members, [](auto& member) { member.second = brief(member.second); });
        return members;
    }
    static void expect_without_the_second() { EXPECT_THAT(members(), ElementsAre(Pair("a.log", "small"), Pair("c.log", "last"))); }
    static void expect_second(const std::string& content) {
        EXPECT_THAT(members(), ElementsAre(Pair("a.log", "small"), Pair("b.log", brief(content)), Pair("c.log", "last")));
    }
};

TEST_F(WriteZip, takes_a_file_as_long_as_it_was_when_opened_or_shorter_if_it_is_cut_meanwhile) {
    for (const std::string& later : {large + large, std::string("cut")}) {
        put_file("b.log", large);
        int reads = 0;
        const Fakes::Replacement change(Fakes::ReadFile, [&](auto... arguments) {
            if (++reads == 2) { // the first of b.log
                put_file("b.log", later);
            }
            return (*Fakes::ReadFile.original)(arguments...);
        });
        EXPECT_TRUE(write());
        expect_second(later.substr(0, large.size()));
    }
}

TEST_F(WriteZip, reads_beyond_four_gigabytes) {
    const Fakes::Replacement grow(Fakes::GetFileInformationByHandle, [&](HANDLE file, BY_HANDLE_FILE_INFORMATION* information) {
        const BOOL good = (*Fakes::GetFileInformationByHandle.original)(file, information);
        information->nFileSizeHigh = 1;
        information->nFileSizeLow = 0;
        return good;
    });
    EXPECT_TRUE(write());
    expect_second(large);
}

TEST_F(WriteZip, ends_a_member_where_its_file_cannot_be_read_and_goes_on_with_the_next) {
    int reads = 0;
    const Fakes::Replacement fail(Fakes::ReadFile, [&](auto... arguments) {
        return ++reads == 3 ? Fakes::refuse(ERROR_READ_FAULT, FALSE) : (*Fakes::ReadFile.original)(arguments...);
    });
    EXPECT_FALSE(write());
    expect_second(large.substr(0, 32768));
}

TEST_F(WriteZip, leaves_out_members_that_do_not_fit_onto_the_disk_and_tells_if_the_archive_itself_does_not) {
    LONGLONG room = 0;
    const Fakes::Replacement disk(Fakes::WriteFile, [&](HANDLE archive, auto bytes, DWORD size, auto written, OVERLAPPED* place) {
        const auto end = static_cast<LONGLONG>(place->OffsetHigh) << 32 | place->Offset;
        return end + size > room ? Fakes::refuse(ERROR_DISK_FULL, FALSE) : (*Fakes::WriteFile.original)(archive, bytes, size, written, place);
    });
    EXPECT_FALSE(write());
    EXPECT_THAT(RecordedLog::take(), Contains("error write_zip: failed to close zip_writer on file at a.zip with err \"MZ_WRITE_ERROR\""));
    // What was already written of a member that is dropped is not in the file's end either.
    for (room = 1000; room < 300000; room += 60000) {
        EXPECT_FALSE(write());
        expect_without_the_second();
    }
    EXPECT_THAT(RecordedLog::take(), Contains(HasSubstr("mz error adding file b.log to zip: \"MZ_")));
}

TEST_F(WriteZip, replaces_whatever_has_the_name_by_a_file_of_its_own) {
    put_file("other", std::string(400000, 'x'));
    std::filesystem::create_hard_link("other", "a.zip");
    SetFileAttributesW(L"other", FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(write());
    expect_second(large);
    EXPECT_EQ(brief(get_file("other")), brief(std::string(400000, 'x')));
}

TEST_F(WriteZip, counts_a_file_that_goes_between_the_look_and_the_opening_as_absent) {
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED}) {
        const Fakes::Replacement open(Fakes::CreateFileW, [&](LPCWSTR name, auto... rest) {
            return std::wstring_view(name) == L"b.log" ? Fakes::refuse(error, INVALID_HANDLE_VALUE) : (*Fakes::CreateFileW.original)(name, rest...);
        });
        const bool absent = error != ERROR_ACCESS_DENIED;
        EXPECT_EQ(write(), absent);
        expect_without_the_second();
        EXPECT_THAT(RecordedLog::take(), Contains(absent ? "debug zip_add_file: file does not exist: b.log"
                                                         : "error zip_add_file: mz error adding file b.log to zip: \"MZ_OPEN_ERROR\""));
    }
}

} // namespace
