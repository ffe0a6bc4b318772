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
    static void expect_second(const Matcher<std::vector<std::string>>& second) {
        std::vector<std::string> contents;
        for (const auto& [name, content] : Archive("a.zip").members) { contents.push_back(brief(content)); }
        ASSERT_GE(contents.size(), 2U);
        EXPECT_EQ(contents.front() + contents.back(), "smalllast");
        EXPECT_THAT((std::vector(contents.begin() + 1, contents.end() - 1)), second);
    }
};

TEST_F(WriteZip, takes_of_a_file_what_can_be_read_of_the_length_that_it_had_and_goes_on_with_the_next) {
    struct Case {
        std::string later; // what the file holds from the first read on
        int failing_read;
        DWORD gigabytes_4; // of the length that it is said to have
        std::string taken;
    };
    const Case cases[] = {{large + large, 0, 0, large}, {"cut", 0, 0, "cut"}, {large, 0, 1, large}, {large, 3, 0, large.substr(0, 32768)}};
    for (const auto& [later, failing_read, gigabytes_4, taken] : cases) {
        put_file("b.log", large);
        int reads = 0;
        const Fakes::Replacement read(Fakes::ReadFile, [&, &later = later, &fails = failing_read](auto... arguments) {
            if (++reads == 2) { put_file("b.log", later); }
            return reads == fails ? Fakes::refuse(ERROR_READ_FAULT, FALSE) : (*Fakes::ReadFile.original)(arguments...);
        });
        const Fakes::Replacement size(Fakes::GetFileInformationByHandle, [high = gigabytes_4](HANDLE file, BY_HANDLE_FILE_INFORMATION* information) {
            const BOOL good = (*Fakes::GetFileInformationByHandle.original)(file, information);
            information->nFileSizeHigh = high;
            return good;
        });
        EXPECT_EQ(write(), failing_read == 0);
        expect_second(ElementsAre(brief(taken)));
    }
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
        expect_second(IsEmpty());
    }
    EXPECT_THAT(RecordedLog::take(), Contains(HasSubstr("mz error adding file b.log to zip: \"MZ_")));
}

TEST_F(WriteZip, replaces_whatever_has_the_name_by_a_file_of_its_own) {
    put_file("other", std::string(400000, 'x'));
    std::filesystem::create_hard_link("other", "a.zip");
    SetFileAttributesW(L"other", FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(write());
    expect_second(ElementsAre(brief(large)));
    EXPECT_EQ(brief(get_file("other")), brief(std::string(400000, 'x')));
}

TEST_F(WriteZip, counts_a_file_that_goes_between_the_look_and_the_opening_as_absent) {
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED}) {
        const Fakes::Replacement open(Fakes::CreateFileW, [&](LPCWSTR name, auto... rest) {
            return std::wstring_view(name) == L"b.log" ? Fakes::refuse(error, INVALID_HANDLE_VALUE) : (*Fakes::CreateFileW.original)(name, rest...);
        });
        const bool absent = error != ERROR_ACCESS_DENIED;
        EXPECT_EQ(write(), absent);
        expect_second(IsEmpty());
        EXPECT_THAT(
            RecordedLog::take(), Contains(absent ? "debug zip_add_file: file does not exist: b.log" : "error zip_add_file: mz error adding file b.log to zip: \"MZ_OPEN_ERROR\""));
    }
}

} // namespace
