#include "logger/init_loggers.h"

#include "fakes/imports.h"
#include "logger/capture_sink.h"
#include "logger/log.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "system_win32/event_sink.h"

#include <gmock/gmock.h>
#include <quill/core/MacroMetadata.h>

#include <cstdio>
#include <cstdlib>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

// Sets up the loggers in a folder of its own. A process can do that once only, so each test does it in a child.
class InitLoggers : public testing::Test {
protected:
    bool terminal = false;
    bool preferred_can_be_made = true;

    void init(const char* levels) {
        Logger::init_loggers(Logger::parse_log_level_config(levels), [this] {
            return preferred_can_be_made ? RecordedLog::make_sink() : throw std::runtime_error("Access denied.");
        });
    }
    template <typename Body>
    void in_child(Body body) {
        EXPECT_EXIT(run(body), testing::ExitedWithCode(0), "");
    }

private:
    template <typename Body>
    void run(Body body) {
        Fakes::Replacements replaced;
        replaced.add(Fakes::_isatty, [this](int) { return terminal ? 1 : 0; });
        // A named object could be somebody else's, and keep the tool from starting.
        replaced.add(Fakes::CreateMutexA, [](auto...) {
            SetLastError(ERROR_ALREADY_EXISTS);
            return nullptr;
        });
        {
            const TemporaryFolder folder;
            const auto before = std::filesystem::current_path();
            std::filesystem::current_path(folder.path());
            body(folder);
            Logger::stop_logging();
            std::filesystem::current_path(before);
        }
        // The child's own failures are not shown by the library.
        const auto& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
        for (int i = 0; i < result.total_part_count(); ++i) {
            const auto& part = result.GetTestPartResult(i);
            std::fprintf(stderr, "line %d: %s\n", part.line_number(), part.message());
        }
        std::fflush(nullptr);
        std::_Exit(HasFailure() ? 1 : 0);
    }
};

TEST_F(InitLoggers, writes_to_the_preferred_sink_and_no_file_when_output_is_redirected) {
    in_child([this](const TemporaryFolder& folder) {
        init("warning,dll=debug,pkg_update=debug");
        LOG_INFO(Logger::main, "dropped");
        LOG_WARNING(Logger::main, "kept {}", "1\t2\r3\u00e4");
        LOG_DEBUG(Logger::dll, "kept {}", 2);
        Logger::stop_logging();
        EXPECT_THAT(RecordedLog::taken(),
                    ElementsAre("warning operator(): kept 1\\x092\\x0D3\\xC3\\xA4", "debug operator(): kept 2"));
        EXPECT_THAT(folder.names(), testing::IsEmpty());
    });
}

TEST_F(InitLoggers, writes_full_lines_to_the_terminal) {
    in_child([this](const TemporaryFolder&) {
        terminal = true;
        testing::internal::CaptureStdout();
        init("info");
        LOG_NOTICE(Logger::comm, "message");
        Logger::stop_logging();
        EXPECT_THAT(
            testing::internal::GetCapturedStdout(),
            testing::ContainsRegex("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d\\d\\d\\d\\d\\d\\d \\[\\d+\\] "
                                   "init_loggers_test\\.cpp:\\d\\d     ?LOG_NOTICE    comm         message\n$"));
        EXPECT_THAT(RecordedLog::taken(), testing::IsEmpty());
    });
}

TEST_F(InitLoggers, falls_back_to_a_file_that_starts_anew_and_says_why) {
    in_child([this](const TemporaryFolder& folder) {
        preferred_can_be_made = false;
        put_file(folder.path() / L"corvel.log", "of the last run\n");
        put_file(folder.path() / L"corvel.1.log", "somebody's");
        init("info");
        Logger::stop_logging();
        EXPECT_THAT(get_file(folder.path() / L"corvel.log"),
                    AllOf(HasSubstr(" LOG_INFO      main         Failed to use preferred logging method: Access "
                                    "denied."),
                          Not(HasSubstr("last run"))));
        EXPECT_THAT(folder.names(), ElementsAre(L"corvel.1.log", L"corvel.log"));
    });
}

TEST_F(InitLoggers, fall_back_to_standard_output_where_no_file_can_be_written) {
    in_child([this](const TemporaryFolder& folder) {
        preferred_can_be_made = false;
        std::filesystem::create_directories(folder.path() / L"corvel.log" / L"x");
        testing::internal::CaptureStdout();
        init("info");
        Logger::stop_logging();
        EXPECT_THAT(testing::internal::GetCapturedStdout(),
                    HasSubstr("Failed to use preferred logging method: Access denied.; "));
    });
}

TEST_F(InitLoggers, lets_the_capture_sink_have_debug_and_above_whatever_the_level) {
    in_child([this](const TemporaryFolder&) {
        init("warning");
        LOG_ERROR(Logger::pkg_update, "before");
        Logger::pkg_update->flush_log();
        Logger::pkg_update_capture->set_disabled(false);
        LOG_TRACE_L1(Logger::pkg_update, "trace");
        LOG_DEBUG(Logger::pkg_update, "a");
        LOG_WARNING(Logger::pkg_update, "b\nc");
        Logger::stop_logging();
        EXPECT_EQ(Logger::pkg_update_capture->text(), "a\nb\nc\n");
        EXPECT_THAT(RecordedLog::taken(),
                    ElementsAre("error operator(): before", "warning operator(): b", "warning operator(): c"));
    });
}

TEST_F(InitLoggers, opens_every_logger_to_the_level_set_and_shows_five_backtrace_statements_with_a_critical_one) {
    in_child([this](const TemporaryFolder&) {
        init("tracel2,api=none,main=critical");
        for (const auto* logger : {Logger::comm, Logger::dll, Logger::pkg_report, Logger::pkg_update}) {
            EXPECT_EQ(logger->get_log_level(), quill::LogLevel::TraceL2) << logger->get_logger_name();
        }
        EXPECT_EQ(Logger::api->get_log_level(), quill::LogLevel::None);
        for (int i = 1; i <= 6; ++i) {
            LOG_BACKTRACE(Logger::main, "step {}", i);
        }
        LOG_CRITICAL(Logger::main, "failed");
        Logger::stop_logging();
        const auto shown = RecordedLog::taken();
        EXPECT_THAT(shown, testing::SizeIs(6));
        EXPECT_THAT(shown, Not(testing::Contains(HasSubstr("step 1"))));
    });
}

// What the sink hands to Windows for one statement.
struct Event {
    WORD type = 0;
    DWORD identifier = 0;
    std::wstring record;
    std::wstring statement;
};

Event report(unsigned level, const char* function) {
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
    const quill::MacroMetadata data("src/load.cpp:120", function, "{}", nullptr, code,
                                    quill::MacroMetadata::Event::Log);
    System::WindowsEventSink().write_log(&data, 0, "", "", "", "main", code, "", "", nullptr, "", "gr\u00fc\u00df\n");
    return event;
}

TEST(EventSink, reports_the_statement_with_its_origin_and_the_statement_alone_as_its_level_is_known) {
    const std::tuple<WORD, const wchar_t*, DWORD> levels[] = {
        {WORD{4}, L"TRACEL3", 3},  {WORD{4}, L"TRACEL2", 2}, {WORD{4}, L"TRACEL1", 1}, {WORD{4}, L"DEBUG", 4},
        {WORD{4}, L"INFO", 5},     {WORD{4}, L"NOTICE", 9},  {WORD{2}, L"WARNING", 6}, {WORD{1}, L"ERROR", 7},
        {WORD{1}, L"CRITICAL", 8}, {WORD{1}, L"ERROR", 7},
    };
    for (unsigned level = 0; const auto& [type, priority, identifier] : levels) {
        const Event event = report(level, level == 0 ? "Config::load" : "load");
        ++level;
        EXPECT_TRUE(event.type == type && event.identifier == 0x20000000 + identifier) << identifier;
        EXPECT_EQ(event.record,
                  std::wstring(L"MESSAGE=gr\u00fc\u00df\n  CODE_FILE=load.cpp  CODE_LINE=120  CODE_FUNC=load"
                               L"  SYSLOG_IDENTIFIER=corvel-main  PRIORITY=LOG_") +
                      priority);
        EXPECT_EQ(event.statement, L"gr\u00fc\u00df\n");
    }
}

} // namespace
