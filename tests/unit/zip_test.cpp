#include "zip/zip.h"

#include "support/archive.h"
#include "support/unit_test.h"
#include "zip/internal/archive_file.h"

using namespace testing;

using Members = std::vector<std::string>;

class WriteZip : public testing::Test {
protected:
    TemporaryFolder folder;
    std::string large = std::string(300000, '\0'); // what deflate cannot make smaller

    WriteZip() {
        std::ranges::generate(large, [random = std::mt19937()]() mutable { return static_cast<char>(random()); });
        put_file("a.log", "small");
        put_file("b.log", large);
        put_file("c.log", "last");
    }

    static constexpr auto member = [](const char* name) { return [=](Zip::Writer& writer) { return Zip::zip_add_file(writer, name, {}); }; };

    // Writes three members. Returns whether that succeeded, and what the archive holds between the first and the last.
    static std::pair<bool, Members> write(const Zip::MemberProducer& second = member("b.log")) {
        const bool good = Zip::write_zip("a.zip", {member("a.log"), second, member("c.log")});
        Members members;
        for (const auto& [name, content] : Archive("a.zip").members) { members.push_back(brief(content)); }
        if (members.size() < 2 || members.front() != "small" || members.back() != "last") { return {good, {"not even the others"}}; }
        return {good, {members.begin() + 1, members.end() - 1}};
    }
};

TEST_F(WriteZip, takes_of_a_file_what_can_be_read_of_the_length_that_it_had_and_goes_on_with_the_next) {
    // What the file holds from the first read on, which read fails, how long the file is said to be in units of 4 GiB.
    const std::tuple<std::string, int, DWORD, std::string> cases[] = {{large + large, 0, 0, large}, {"cut", 0, 0, "cut"}, {large + large, 0, 1, large + large}, {large, 3, 0, large.substr(0, 32768)}};
    for (const auto& [later, fails, high, taken] : cases) {
        put_file("b.log", large);
        int reads = 0;
        const Fakes::Replacement read(Fakes::ReadFile, [&, &later = later, &fails = fails](auto... arguments) {
            if (++reads == 2) { put_file("b.log", later); }
            return reads == fails ? Fakes::refuse(ERROR_READ_FAULT, FALSE) : (*Fakes::ReadFile.original)(arguments...);
        });
        const Fakes::Replacement size(Fakes::GetFileInformationByHandle, [high = high](HANDLE file, BY_HANDLE_FILE_INFORMATION* information) {
            const BOOL good = (*Fakes::GetFileInformationByHandle.original)(file, information);
            return information->nFileSizeHigh = high, good;
        });
        EXPECT_EQ(write(), std::pair(fails == 0, Members{brief(taken)}));
    }
}

TEST_F(WriteZip, leaves_out_members_that_do_not_fit_onto_the_disk_and_tells_if_the_archive_itself_does_not) {
    LONGLONG room = 0;
    const Fakes::Replacement disk(Fakes::WriteFile, [&](HANDLE archive, auto bytes, DWORD size, auto written, OVERLAPPED* place) {
        const auto end = static_cast<LONGLONG>(place->OffsetHigh) << 32 | place->Offset;
        return end + size > room ? Fakes::refuse(ERROR_DISK_FULL, FALSE) : (*Fakes::WriteFile.original)(archive, bytes, size, written, place);
    });
    EXPECT_EQ(write(), std::pair(false, Members{"not even the others"}));
    EXPECT_THAT(RecordedLog::take(), Contains("error write_zip: failed to close zip_writer on file at a.zip with err \"MZ_WRITE_ERROR\""));
    // What was already written of a member that is dropped is not in the file's end either.
    for (room = 1000; room < 300000; room += 60000) { EXPECT_EQ(write(), std::pair(false, Members{})); }
    EXPECT_THAT(RecordedLog::take(), Contains(HasSubstr("mz error adding file b.log to zip: \"MZ_")));
    room = 1000;
    EXPECT_EQ(write([&](auto& writer) { return Zip::zip_add_text(writer, {"text", 0}, large.substr(0, 30000), "text"); }), std::pair(false, Members{}));
    Zip::ArchiveFile archive;
    archive.open("a.zip");
    archive.rewind(1LL << 32);
    EXPECT_FALSE(archive.write(reinterpret_cast<const std::byte*>("x"), 1) && archive.close()) << "begins anew at four gigabytes";
}

TEST_F(WriteZip, counts_a_file_that_goes_between_the_look_and_the_opening_as_absent) {
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED}) {
        const Fakes::Replacement open(Fakes::CreateFileW,
            [&](LPCWSTR name, auto... rest) { return std::wstring_view(name) == L"b.log" ? Fakes::refuse(error, INVALID_HANDLE_VALUE) : (*Fakes::CreateFileW.original)(name, rest...); });
        const bool absent = error != ERROR_ACCESS_DENIED;
        EXPECT_EQ(write(), std::pair(absent, Members{}));
        EXPECT_THAT(RecordedLog::take(), Contains(absent ? "debug zip_add_file: file does not exist: b.log" : "error zip_add_file: mz error adding file b.log to zip: \"MZ_OPEN_ERROR\""));
    }
}
