#include "fakes/imports.h"
#include "logger/level.h"
#include "system_win32/event_sink.h"

#include <gmock/gmock.h>
#include <quill/core/MacroMetadata.h>

#include <system_error>

using Logger::Level;

namespace {

const HANDLE source = reinterpret_cast<HANDLE>(0x5150);

// What the sink hands to Windows for one statement.
struct Event {
    HANDLE source = nullptr;
    WORD type = 0;
    WORD category = 1;
    DWORD identifier = 0;
    std::vector<std::wstring> strings;
};

Event report(Level level, const char* location, const std::string& statement) {
    Event event;
    const Fakes::Replacement open(Fakes::RegisterEventSourceW, [](LPCWSTR server, LPCWSTR name) {
        return server == nullptr && std::wstring_view(name) == L"corvel" ? source : nullptr;
    });
    const Fakes::Replacement close(Fakes::DeregisterEventSource, [](auto) { return TRUE; });
    const Fakes::Replacement write(Fakes::ReportEventW,
                                   [&](HANDLE handle, WORD type, WORD category, DWORD identifier, PSID user, WORD count,
                                       DWORD size, LPCWSTR* strings, LPVOID data) {
                                       EXPECT_TRUE(user == nullptr && size == 0 && data == nullptr);
                                       event = {handle, type, category, identifier, {strings, strings + count}};
                                       return FALSE;
                                   });
    const quill::MacroMetadata metadata(location, "config_load", "{}", nullptr, static_cast<quill::LogLevel>(level),
                                        quill::MacroMetadata::Event::Log);
    System::WindowsEventSink sink;
    sink.write_log(&metadata, 0, "", "", "", "main", static_cast<quill::LogLevel>(level), "", "", nullptr, "",
                   statement);
    return event;
}

TEST(EventSink, reports_the_statement_with_its_origin_and_the_statement_alone) {
    const Event event = report(Level::Info, "src/config/load.cpp:120", "gr\u00fc\u00df dich \u20ac\n");
    EXPECT_EQ(event.source, source);
    EXPECT_EQ(event.category, 0);
    EXPECT_THAT(event.strings,
                testing::ElementsAre(L"MESSAGE=gr\u00fc\u00df dich \u20ac\n  CODE_FILE=load.cpp  CODE_LINE=120  "
                                     L"CODE_FUNC=config_load  SYSLOG_IDENTIFIER=corvel-main  PRIORITY=LOG_INFO",
                                     L"gr\u00fc\u00df dich \u20ac\n"));
    EXPECT_THAT(report(Level::Info, "load.cpp:7", "").strings[0],
                testing::HasSubstr(L"CODE_FILE=load.cpp  CODE_LINE=7  "));
}

struct KindCase {
    Level level;
    WORD type;
    const wchar_t* priority;
    DWORD identifier;
};

class EventKind : public testing::TestWithParam<KindCase> {};

TEST_P(EventKind, follows_the_level) {
    const Event event = report(GetParam().level, "a.cpp:1", "m\n");
    EXPECT_EQ(event.type, GetParam().type);
    EXPECT_EQ(event.identifier, GetParam().identifier);
    EXPECT_THAT(event.strings[0], testing::EndsWith(std::wstring(L"  PRIORITY=") + GetParam().priority));
}

INSTANTIATE_TEST_SUITE_P(Log, EventKind,
                         testing::Values(KindCase{Level::TraceL3, 4, L"LOG_TRACEL3", 0x20000003},
                                         KindCase{Level::TraceL2, 4, L"LOG_TRACEL2", 0x20000002},
                                         KindCase{Level::TraceL1, 4, L"LOG_TRACEL1", 0x20000001},
                                         KindCase{Level::Debug, 4, L"LOG_DEBUG", 0x20000004},
                                         KindCase{Level::Info, 4, L"LOG_INFO", 0x20000005},
                                         KindCase{Level::Notice, 4, L"LOG_NOTICE", 0x20000009},
                                         KindCase{Level::Warning, 2, L"LOG_WARNING", 0x20000006},
                                         KindCase{Level::Error, 1, L"LOG_ERROR", 0x20000007},
                                         KindCase{Level::Critical, 1, L"LOG_CRITICAL", 0x20000008},
                                         KindCase{Level::Backtrace, 1, L"LOG_ERROR", 0x20000007}));

TEST(EventSink, that_cannot_register_throws_the_windows_error) {
    const Fakes::Replacement refuse(Fakes::RegisterEventSourceW, [](auto...) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    });
    try {
        const System::WindowsEventSink sink;
        FAIL() << "registered";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::permission_denied);
    }
}

} // namespace
