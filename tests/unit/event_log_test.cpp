#include "logzipper_win32/event_log.h"

#include "fakes/imports.h"
#include "support/event_record.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <random>

using testing::ElementsAre;

namespace {

const EventBatch agent = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"text"});

// What reading the log gives.
struct Read {
    DWORD error = 0; // 0: the batch
    EventBatch batch{};
    DWORD needed = 0;
};

class EventLog : public testing::Test {
protected:
    TemporaryFolder folder;
    std::vector<DWORD> buffer_sizes;

    // Collects a log that reads so, and then ends, into an archive and returns what was logged.
    std::vector<std::string> collect(std::deque<Read> reads, bool good) {
        reads.push_back({ERROR_HANDLE_EOF});
        Fakes::Replacements replaced;
        replaced.add(Fakes::OpenEventLogW, [](LPCWSTR server, LPCWSTR name) {
            return server == nullptr && std::wstring_view(name) == L"corvel" ? reinterpret_cast<HANDLE>(1) : nullptr;
        });
        replaced.add(Fakes::CloseEventLog, [](auto) { return TRUE; });
        replaced.add(Fakes::ReadEventLogW,
                     [&](HANDLE, DWORD flags, DWORD, LPVOID buffer, DWORD size, DWORD* count, DWORD* needed) {
                         EXPECT_EQ(flags, 5U);
                         buffer_sizes.push_back(size);
                         const Read next = reads.front();
                         reads.pop_front();
                         std::ranges::copy(next.batch, static_cast<std::byte*>(buffer));
                         *count = static_cast<DWORD>(next.batch.size());
                         *needed = next.needed;
                         SetLastError(next.error);
                         return next.error == 0 ? TRUE : FALSE;
                     });
        EXPECT_EQ(Zip::write_zip(folder.path() / L"a.zip", {[](void* writer) {
                                     return LogZipper::zip_add_corvel_syslog(writer, {"log", 0});
                                 }}),
                  good);
        return RecordedLog::take();
    }
    static std::string success(std::size_t records) {
        return fmt::format("debug zip_add_corvel_syslog: success writing {} bytes from syslog to zip",
                           records * (sizeof "2025-01-31 14:05:09.0000000\n7\nWarning\ntext\n" - 1));
    }
};

TEST_F(EventLog, is_streamed_to_its_end_with_a_buffer_that_grows_for_a_large_record) {
    EXPECT_THAT(collect({{0, agent}, {ERROR_INSUFFICIENT_BUFFER, {}, 300000}, {0, agent + agent}}, true),
                ElementsAre(success(3)));
    EXPECT_THAT(buffer_sizes, ElementsAre(128000, 128000, 300000, 300000));
    EXPECT_THAT(collect({}, true), ElementsAre(success(0)));
    EXPECT_THAT(collect({{ERROR_INSUFFICIENT_BUFFER, {}, 4}, {ERROR_INSUFFICIENT_BUFFER}}, false),
                ElementsAre(testing::StartsWith("error read_logs_to_buff: error: resized eventlog read buffer but "
                                                "failed with: 0x7a - ")));
}

TEST_F(EventLog, goes_on_behind_damage) {
    EventBatch damaged = agent;
    damaged[0] = std::byte{1};
    EXPECT_THAT(collect({{0, agent + damaged}, {0, agent}}, true),
                ElementsAre("error read_logs_to_buff: skipped 1 damaged records of eventlog", success(2)));
}

TEST_F(EventLog, that_the_archive_has_no_room_for_fails_its_member) {
    std::mt19937 random(1);
    std::wstring noise(30000, L'\0');
    std::ranges::generate(noise, [&] { return static_cast<wchar_t>(0x4E00 + random() % 0x5000); });
    const auto full = failing(Fakes::WriteFile, FALSE, ERROR_DISK_FULL);
    EXPECT_THAT(collect(std::deque<Read>(9, {0, event_record(L"corvel", 7, 1, {noise})}), false),
                ElementsAre("error write_buff_to_zip: mz error \"MZ_WRITE_ERROR\" writing to zip entry for syslog"));
}

TEST_F(EventLog, is_written_only_to_an_open_member) {
    EXPECT_EQ(LogZipper::write_buff_to_zip(nullptr, "", 0), 0);
    EXPECT_EQ(LogZipper::write_buff_to_zip(nullptr, "x", 1), -102);
    EXPECT_TRUE(Zip::write_zip(folder.path() / L"a.zip",
                               {[](void* writer) { return LogZipper::write_buff_to_zip(writer, "x", 1) == -1; }}));
}

} // namespace
