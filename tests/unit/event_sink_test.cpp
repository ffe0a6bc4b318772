#include "system_win32/event_sink.h"

#include "fakes/imports.h"
#include "logger/level.h"

#include <gmock/gmock.h>
#include <quill/core/MacroMetadata.h>

using Logger::Level;

namespace {

// What the sink hands to Windows for one statement.
struct Event {
    WORD type = 0;
    DWORD identifier = 0;
    std::wstring record;
    std::wstring statement;
};

Event report(Level level, const char* location, const std::string& statement, const char* function = "config_load") {
    Event event;
    const HANDLE source = &event;
    Fakes::Replacements replaced;
    replaced.add(Fakes::RegisterEventSourceW, [&](LPCWSTR server, LPCWSTR name) {
        return server == nullptr && std::wstring_view(name) == L"corvel" ? source : nullptr;
    });
    replaced.add(Fakes::DeregisterEventSource, [&](HANDLE handle) { return handle == source ? TRUE : FALSE; });
    replaced.add(Fakes::ReportEventW, [&](HANDLE handle, WORD type, WORD category, DWORD identifier, PSID user,
                                          WORD count, DWORD size, LPCWSTR* strings, LPVOID data) {
        EXPECT_TRUE(handle == source && category == 0 && user == nullptr && count == 2 && size == 0 && data == nullptr);
        event = {type, identifier, strings[0], strings[1]};
        return FALSE;
    });
    const auto code = static_cast<quill::LogLevel>(level);
    const quill::MacroMetadata metadata(location, function, "{}", nullptr, code, quill::MacroMetadata::Event::Log);
    System::WindowsEventSink().write_log(&metadata, 0, "", "", "", "main", code, "", "", nullptr, "", statement);
    return event;
}

TEST(EventSink, reports_the_statement_with_its_origin_and_the_statement_alone) {
    const Event event = report(Level::Info, "src/config/load.cpp:120", "gr\u00fc\u00df dich \u20ac\n", "Config::load");
    EXPECT_EQ(event.record, L"MESSAGE=gr\u00fc\u00df dich \u20ac\n  CODE_FILE=load.cpp  CODE_LINE=120  "
                            L"CODE_FUNC=load  SYSLOG_IDENTIFIER=corvel-main  PRIORITY=LOG_INFO");
    EXPECT_EQ(event.statement, L"gr\u00fc\u00df dich \u20ac\n");
    EXPECT_THAT(report(Level::Info, "load.cpp:7", "").record,
                testing::HasSubstr(L"CODE_FILE=load.cpp  CODE_LINE=7  CODE_FUNC=config_load  "));
}

TEST(EventSink, reports_type_priority_and_identifier_of_the_level) {
    const std::tuple<Level, WORD, const wchar_t*, DWORD> cases[] = {
        {Level::TraceL3, WORD{4}, L"LOG_TRACEL3", 0x20000003},   {Level::TraceL2, WORD{4}, L"LOG_TRACEL2", 0x20000002},
        {Level::TraceL1, WORD{4}, L"LOG_TRACEL1", 0x20000001},   {Level::Debug, WORD{4}, L"LOG_DEBUG", 0x20000004},
        {Level::Info, WORD{4}, L"LOG_INFO", 0x20000005},         {Level::Notice, WORD{4}, L"LOG_NOTICE", 0x20000009},
        {Level::Warning, WORD{2}, L"LOG_WARNING", 0x20000006},   {Level::Error, WORD{1}, L"LOG_ERROR", 0x20000007},
        {Level::Critical, WORD{1}, L"LOG_CRITICAL", 0x20000008}, {Level::Backtrace, WORD{1}, L"LOG_ERROR", 0x20000007},
    };
    for (const auto& [level, type, priority, identifier] : cases) {
        const Event event = report(level, "a.cpp:1", "m\n");
        EXPECT_TRUE(event.type == type && event.identifier == identifier) << identifier;
        EXPECT_THAT(event.record, testing::EndsWith(std::wstring(L"  PRIORITY=") + priority));
    }
}

} // namespace
