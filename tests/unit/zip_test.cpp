#include "zip/zip.h"

#include "fakes/imports.h"
#include "support/archive.h"
#include "support/recorded_log.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

using testing::HasSubstr;
using testing::Key;
using testing::Pair;

namespace {

// What deflate cannot make smaller.
std::string noise(std::size_t size) {
    std::string text(size, '\0');
    std::ranges::generate(text, [random = std::mt19937()]() mutable { return static_cast<char>(random()); });
    return text;
}

class WriteZip : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string large = noise(300000);
    Fakes::Replacements replaced;

    void SetUp() override {
        put_file("a.log", "small");
        put_file("b.log", large);
        put_file("c.log", "last");
    }

    static Zip::MemberProducer file(const std::string& name) {
        return [name](Zip::Writer& writer) { return Zip::zip_add_file(writer, name, std::nullopt); };
    }
    static bool write() {
        return Zip::write_zip("a.zip", {file("a.log"), file("b.log"), file("c.log")});
    }
    static auto members() {
        auto members = Archive("a.zip").members;
        for (auto& [name, content] : members) {
            content = brief(content);
        }
        return members;
    }
};

TEST_F(WriteZip, takes_a_file_as_long_as_it_was_when_opened_or_shorter_if_it_is_cut_meanwhile) {
    for (const std::string& later : {large + large, std::string("cut")}) {
        SCOPED_TRACE(later.size());
        put_file("b.log", large);
        int reads = 0;
        const Fakes::Replacement change(Fakes::ReadFile, [&](auto... arguments) {
            if (++reads == 2) { // the first of b.log
                put_file("b.log", later);
            }
            return (*Fakes::ReadFile.original)(arguments...);
        });
        EXPECT_TRUE(write());
        EXPECT_THAT(members(),
                    testing::ElementsAre(Pair("a.log", "small"), Pair("b.log", brief(later.substr(0, large.size()))),
                                         Pair("c.log", "last")));
    }
}

TEST_F(WriteZip, ends_a_member_where_its_file_cannot_be_read_and_goes_on_with_the_next) {
    int reads = 0;
    const Fakes::Replacement fail(Fakes::ReadFile, [&](HANDLE source, LPVOID bytes, DWORD size, auto... rest) {
        SetLastError(ERROR_READ_FAULT);
        return ++reads == 3 ? FALSE : (*Fakes::ReadFile.original)(source, bytes, size, rest...);
    });
    EXPECT_FALSE(write());
    EXPECT_THAT(members(), testing::ElementsAre(Pair("a.log", "small"), Pair("b.log", brief(large.substr(0, 32768))),
                                                Pair("c.log", "last")));
}

TEST_F(WriteZip, leaves_out_members_that_do_not_fit_onto_the_disk_and_tells_if_the_archive_itself_does_not) {
    LONGLONG room = 0;
    replaced.emplace_front(
        Fakes::WriteFile, [&](HANDLE archive, LPCVOID bytes, DWORD size, DWORD* written, OVERLAPPED* place) {
            SetLastError(ERROR_DISK_FULL);
            const auto end = static_cast<LONGLONG>(place->OffsetHigh) << 32 | place->Offset;
            return end + size > room ? FALSE : (*Fakes::WriteFile.original)(archive, bytes, size, written, place);
        });
    EXPECT_FALSE(write());
    EXPECT_THAT(RecordedLog::take(), testing::Contains("error write_zip: failed to close zip_writer on file at a.zip "
                                                       "with err \"MZ_WRITE_ERROR\""));
    // What was already written of a member that is dropped is not in the file's end either.
    for (room = 1000; room < 300000; room += 60000) {
        SCOPED_TRACE(room);
        EXPECT_FALSE(write());
        EXPECT_THAT(members(), testing::ElementsAre(Pair("a.log", "small"), Pair("c.log", "last")));
    }
    EXPECT_THAT(RecordedLog::take(), testing::Contains(HasSubstr("mz error adding file b.log to zip: \"MZ_")));
    room = 400000;
    EXPECT_TRUE(write());
}

TEST_F(WriteZip, replaces_whatever_has_the_name_by_a_file_of_its_own) {
    put_file("other", std::string(400000, 'x'));
    std::filesystem::create_hard_link("other", "a.zip");
    SetFileAttributesW(L"other", FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(write());
    EXPECT_EQ(members().size(), 3U);
    EXPECT_EQ(brief(get_file("other")), brief(std::string(400000, 'x')));
}

TEST_F(WriteZip, counts_a_file_that_goes_between_the_look_and_the_opening_as_absent) {
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED}) {
        const Fakes::Replacement open(Fakes::CreateFileW, [&](LPCWSTR name, auto... rest) {
            SetLastError(error);
            return std::wstring_view(name) == L"b.log" ? INVALID_HANDLE_VALUE
                                                       : (*Fakes::CreateFileW.original)(name, rest...);
        });
        EXPECT_EQ(write(), error != ERROR_ACCESS_DENIED);
        EXPECT_THAT(members(), testing::ElementsAre(Key("a.log"), Key("c.log")));
        EXPECT_THAT(RecordedLog::take(),
                    testing::Contains(error == ERROR_ACCESS_DENIED
                                          ? "error zip_add_file: mz error adding file b.log to zip: \"MZ_OPEN_ERROR\""
                                          : "debug zip_add_file: file does not exist: b.log"));
    }
}

TEST_F(WriteZip, gives_nobody_at_the_other_end_of_a_pipe_the_callers_rights) {
    replaced.emplace_front(Fakes::CreateFileW, [&](LPCWSTR name, DWORD access, DWORD sharing, auto security,
                                                   DWORD disposition, DWORD flags, HANDLE model) {
        if (access == GENERIC_READ) {
            EXPECT_EQ(sharing, 7U);
            EXPECT_EQ(flags, static_cast<DWORD>(SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION));
        } else {
            EXPECT_EQ(disposition, static_cast<DWORD>(CREATE_NEW));
        }
        return (*Fakes::CreateFileW.original)(name, access, sharing, security, disposition, flags, model);
    });
    EXPECT_TRUE(write());
}

} // namespace
