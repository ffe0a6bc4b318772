#include "logzipper_win32/internal/event_records.h"

#include "support/event_record.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

using LogZipper::render_event_records;

const EventBatch agent = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"gr\u00fc\u00df \u20ac\n", L"second"});
const std::string agent_text = "2025-01-31 14:05:09.0000000\n7\nWarning\ngr\u00fc\u00df \u20ac\n\n";

static EventBatch changed(std::size_t offset, DWORD value) {
    EventBatch batch = agent;
    std::memcpy(batch.data() + offset, &value, sizeof value);
    return batch;
}

TEST(EventRecords, of_the_agent_and_of_crashes_are_rendered_and_others_skipped) {
    const std::string head = "2025-01-31 14:05:09.0000000\n1\n";
    EventBatch batch = agent + event_record(L"Corvel", 8, 1, {L"x"}) + event_record(L"corvelx", 9, 1, {L"x"}) + event_record(L"Application Error", 10, EVENTLOG_WARNING_TYPE, {L"x"}) +
                       event_record(L"Application Error", 1, 1, {}) +
                       event_record(L"Application Error", 1, EVENTLOG_ERROR_TYPE, {L"a", L"b", L"c", L"d", L"e", L"f", L"g", L"h", L"i", L"j", L"k", L"l", L"m"});
    const char* const crash = "{}Application Crash\nFaulting application name: {}, version: {}, time stamp: 0x{}\nFaulting module name: {}, version: {}, time stamp: 0x{}\nException code: 0x{}\n"
                              "Fault offset: 0x{}\nFaulting process id: 0x{}\nFaulting application start time: 0x{}\nFaulting application path: {}\nFaulting module path: {}\n";
    std::string expected = agent_text + fmt::format(fmt::runtime(crash), head, "", "", "", "", "", "", "", "", "", "", "", "") +
                           fmt::format(fmt::runtime(crash), head, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l");
    for (const auto& [type, name] : {std::pair(1, "Error"), {4, "Informational"}, {8, "Audit Success"}, {16, "Audit Failure"}, {3, "unknown"}}) {
        batch = batch + event_record(L"corvel", 1, static_cast<WORD>(type), {});
        expected += head + name + "\n\n";
    }
    std::string text;
    EXPECT_EQ(render_event_records(batch, text), 0U);
    EXPECT_EQ(text, expected);
}

TEST(EventRecords, that_are_damaged_are_left_out_alone_unless_not_even_the_length_is_sound) {
    const std::size_t length = offsetof(EVENTLOGRECORD, Length);
    const std::size_t strings = offsetof(EVENTLOGRECORD, StringOffset);
    const auto size = static_cast<DWORD>(agent.size());
    for (const auto& [damaged, sound_length] : {std::pair(changed(strings, size + 2), true), {changed(strings, 0xFFFFFFFE), true}, {changed(strings, size - 1), true}, {changed(length, 0), false},
             {changed(length, 52), false}, {changed(length, size - 2), false}, {changed(length, 2 * size + 4), false}}) {
        std::string text;
        EXPECT_EQ(render_event_records(agent + damaged + agent, text), 1U);
        EXPECT_EQ(text, sound_length ? agent_text + agent_text : agent_text);
    }
}
