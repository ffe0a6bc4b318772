#include "fakes/imports.h"
#include "logzipper_win32/event_records.h"
#include "logzipper_win32/log_zipper.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "supportbundle/zip.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <random>

using LogZipper::render_event_records;
using testing::ElementsAre;

namespace {

using Batch = std::vector<std::byte>;

// One record in the layout of Windows, with the strings behind the source name.
Batch record(const std::wstring& source, DWORD number, WORD type, const std::vector<std::wstring>& strings) {
    EVENTLOGRECORD header{};
    std::wstring tail = source + L'\0' + L"HOST" + L'\0';
    header.StringOffset = static_cast<DWORD>(sizeof header + tail.size() * sizeof(wchar_t));
    for (const std::wstring& string : strings) {
        tail += string + L'\0';
    }
    tail.resize((tail.size() + 1) / 2 * 2 + 2);
    header.RecordNumber = number;
    header.TimeGenerated = 1738332309; // 2025-01-31 14:05:09
    header.EventType = type;
    header.NumStrings = static_cast<WORD>(strings.size());
    header.Length = static_cast<DWORD>(sizeof header + tail.size() * sizeof(wchar_t));
    Batch bytes(header.Length);
    std::memcpy(bytes.data(), &header, sizeof header);
    std::memcpy(bytes.data() + sizeof header, tail.data(), tail.size() * sizeof(wchar_t));
    return bytes;
}

Batch operator+(Batch left, const Batch& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Batch agent = record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"gr\u00fc\u00df \u20ac\n", L"second"});
const std::string agent_text = "2025-01-31 14:05:09.0000000\n7\nWarning\ngr\u00fc\u00df \u20ac\n\n";

TEST(EventRecords, of_the_agent_and_of_crashes_are_rendered_and_others_skipped) {
    std::string text;
    EXPECT_TRUE(render_event_records(
        agent + record(L"Corvel", 8, 1, {L"x"}) + record(L"corvelx", 9, 1, {L"x"}) +
            record(L"Application Error", 10, EVENTLOG_WARNING_TYPE, {L"x"}) + record(L"corvel", 11, 3, {}) +
            record(L"Application Error", 12, EVENTLOG_ERROR_TYPE, {L"a.exe", L"1.0", L"5f"}),
        text));
    EXPECT_EQ(text, agent_text + "2025-01-31 14:05:09.0000000\n11\nunknown\n\n"
                                 "2025-01-31 14:05:09.0000000\n12\nApplication Crash\n"
                                 "Faulting application name: a.exe, version: 1.0, time stamp: 0x5f\n"
                                 "Faulting module name: , version: , time stamp: 0x\nException code: 0x\n"
                                 "Fault offset: 0x\nFaulting process id: 0x\nFaulting application start time: 0x\n"
                                 "Faulting application path: \nFaulting module path: \n");
}

TEST(EventRecords, that_are_damaged_end_the_batch_behind_the_last_good_one) {
    const auto with = [](std::size_t offset, DWORD value) {
        Batch damaged = agent;
        std::memcpy(damaged.data() + offset, &value, sizeof value);
        return damaged;
    };
    const std::size_t length = offsetof(EVENTLOGRECORD, Length);
    const std::size_t strings = offsetof(EVENTLOGRECORD, StringOffset);
    const auto size = static_cast<DWORD>(agent.size());
    for (const Batch& damaged : {with(length, 0), with(length, 52), with(length, size - 2), with(length, size + 4),
                                 with(strings, size + 2), with(strings, 0xFFFFFFFE), with(strings, size - 1)}) {
        std::string text;
        EXPECT_FALSE(render_event_records(agent + damaged, text));
        EXPECT_EQ(text, agent_text);
    }
}

// The batch ends where memory does, so that reading one byte too many ends the process.
TEST(EventRecords, of_any_content_are_read_without_leaving_the_batch) {
    constexpr std::size_t page = 4096;
    auto* const memory = static_cast<std::byte*>(VirtualAlloc(nullptr, 2 * page, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(VirtualAlloc(memory, page, MEM_COMMIT, PAGE_READWRITE), nullptr);
    const Batch genuine =
        agent + record(L"Application Error", 1, EVENTLOG_ERROR_TYPE, std::vector<std::wstring>(14, L"string \xD800")) +
        agent;
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        Batch batch = genuine;
        for (unsigned change = 0; change <= random() % 6; ++change) {
            batch[random() % batch.size()] = static_cast<std::byte>(random() % 3 == 0 ? 0xFF : random());
        }
        batch.resize(batch.size() - std::size_t{4} * (random() % 3));
        std::byte* const start = memory + page - batch.size();
        std::memcpy(start, batch.data(), batch.size());
        std::string text;
        render_event_records({start, batch.size()}, text);
    }
}

// An event log that hands out the given results one after another.
struct Read {
    DWORD error = 0; // 0: the batch
    Batch batch{};
    DWORD needed = 0;
};

class EventLog : public testing::Test {
protected:
    TemporaryFolder folder;
    std::deque<Read> reads;
    std::vector<DWORD> buffer_sizes;

    Fakes::Replacement<decltype(OpenEventLogW)> open_{
        Fakes::OpenEventLogW, [](LPCWSTR server, LPCWSTR name) {
            return server == nullptr && std::wstring_view(name) == L"corvel" ? reinterpret_cast<HANDLE>(1) : nullptr;
        }};
    Fakes::Replacement<decltype(CloseEventLog)> close_{Fakes::CloseEventLog, [](auto) { return TRUE; }};
    Fakes::Replacement<decltype(ReadEventLogW)> read_{
        Fakes::ReadEventLogW,
        [this](HANDLE, DWORD flags, DWORD, LPVOID buffer, DWORD size, DWORD* count, DWORD* needed) {
            EXPECT_EQ(flags, 5U);
            buffer_sizes.push_back(size);
            const Read next = reads.empty() ? Read{ERROR_HANDLE_EOF} : reads.front();
            if (!reads.empty()) {
                reads.pop_front();
            }
            std::ranges::copy(next.batch, static_cast<std::byte*>(buffer));
            *count = static_cast<DWORD>(next.batch.size());
            *needed = next.needed;
            SetLastError(next.error);
            return next.error == 0 ? TRUE : FALSE;
        }};

    // Collects the log into an archive; the last line logged tells how it went.
    std::string collect(bool good) {
        const auto produce = [](void* writer) {
            return LogZipper::zip_add_corvel_syslog(writer, SupportBundle::entry_header("log", 0));
        };
        EXPECT_EQ(SupportBundle::write_zip(folder.path() / L"a.zip", {produce}), good);
        const auto lines = RecordedLog::take();
        return lines.empty() ? "" : lines.back();
    }
};

TEST_F(EventLog, is_streamed_to_its_end_with_a_buffer_that_grows_for_a_large_record) {
    reads = {{0, agent}, {ERROR_INSUFFICIENT_BUFFER, {}, 300000}, {0, agent + agent}};
    EXPECT_EQ(collect(true), fmt::format("debug zip_add_corvel_syslog: success writing {} bytes from syslog to zip",
                                         3 * agent_text.size()));
    EXPECT_THAT(buffer_sizes, ElementsAre(128000, 128000, 300000, 300000));
    EXPECT_EQ(collect(true), "debug zip_add_corvel_syslog: success writing 0 bytes from syslog to zip");
}

TEST_F(EventLog, that_cannot_be_read_fails_its_member_with_the_reason) {
    reads = {{ERROR_ACCESS_DENIED}};
    EXPECT_EQ(collect(false), "error read_batch: error reading from eventlog: 0x5 - Access denied.");
    reads = {{ERROR_INSUFFICIENT_BUFFER, {}, 4}, {ERROR_INSUFFICIENT_BUFFER}};
    EXPECT_THAT(collect(false), testing::StartsWith("error read_batch: error: resized eventlog read buffer but failed "
                                                    "with: 0x7a - "));
    const Fakes::Replacement refuse(Fakes::OpenEventLogW, [](auto...) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    });
    EXPECT_EQ(collect(false), "error zip_add_corvel_syslog: OpenEventLog failed with error: 0x5 - Access denied.");
}

TEST_F(EventLog, keeps_what_stands_before_damage_and_goes_on_with_the_next_batch) {
    Batch damaged = agent;
    damaged[0] = std::byte{1};
    reads = {{0, agent + damaged}, {0, agent}};
    EXPECT_EQ(collect(true), fmt::format("debug zip_add_corvel_syslog: success writing {} bytes from syslog to zip",
                                         2 * agent_text.size()));
}

TEST(WriteBuffToZip, needs_an_open_member) {
    EXPECT_EQ(LogZipper::write_buff_to_zip(nullptr, "", 0), 0);
    EXPECT_EQ(LogZipper::write_buff_to_zip(nullptr, "x", 1), MZ_PARAM_ERROR);
    const TemporaryFolder folder;
    const auto produce = [](void* writer) { return LogZipper::write_buff_to_zip(writer, "x", 1) == MZ_STREAM_ERROR; };
    EXPECT_TRUE(SupportBundle::write_zip(folder.path() / L"a.zip", {produce}));
    EXPECT_THAT(RecordedLog::take().back(), testing::EndsWith("mz error \"MZ_STREAM_ERROR\" writing to zip entry for "
                                                              "syslog"));
}

} // namespace
