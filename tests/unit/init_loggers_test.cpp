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
        EXPECT_THAT(testing::internal::GetCapturedStdout(),
                    testing::ContainsRegex("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d\\d\\d\\d\\d\\d\\d \\[\\d+\\] "
                                           "init_loggers_test\\.cpp:\\d\\d     ?LOG_NOTICE    comm         "
                                           "message\n$"));
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
                    AllOf(HasSubstr(" LOG_INFO      main         Failed to use "
                                    "preferred logging method: Access "
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

TEST(EventSink, reports_the_statement_with_its_origin_and_the_statement_alone_as_its_level_is_known) {
    const std::tuple<WORD, DWORD, const wchar_t*> levels[] = {
        {WORD{4}, 3, L"TRACEL3"},  {WORD{4}, 2, L"TRACEL2"}, {WORD{4}, 1, L"TRACEL1"}, {WORD{4}, 4, L"DEBUG"},
        {WORD{4}, 5, L"INFO"},     {WORD{4}, 9, L"NOTICE"},  {WORD{2}, 6, L"WARNING"}, {WORD{1}, 7, L"ERROR"},
        {WORD{1}, 8, L"CRITICAL"}, {WORD{1}, 7, L"ERROR"},
    };
    int source = 0;
    std::size_t level = 0;
    Fakes::Replacements replaced;
    replaced.add(Fakes::RegisterEventSourceW, [&](LPCWSTR server, LPCWSTR name) {
        return server == nullptr && std::wstring_view(name) == L"corvel" ? &source : nullptr;
    });
    replaced.add(Fakes::DeregisterEventSource, [&](HANDLE handle) { return handle == &source ? TRUE : FALSE; });
    replaced.add(Fakes::ReportEventW, [&](HANDLE handle, WORD type, WORD category, DWORD identifier, PSID user,
                                          WORD count, DWORD size, LPCWSTR* strings, LPVOID data) {
        EXPECT_TRUE(handle == &source && category == 0 && user == nullptr && count == 2 && size == 0 &&
                    data == nullptr);
        EXPECT_EQ(std::tuple(type, identifier - 0x20000000),
                  std::tuple(std::get<0>(levels[level]), std::get<1>(levels[level])));
        EXPECT_EQ(strings[0], std::wstring(L"MESSAGE=gr\u00fc\u00df\n  CODE_FILE=load.cpp  "
                                           L"CODE_LINE=120  CODE_FUNC=load  "
                                           L"SYSLOG_IDENTIFIER=corvel-main  PRIORITY=LOG_") +
                                  std::get<2>(levels[level]));
        EXPECT_STREQ(strings[1], L"gr\u00fc\u00df\n");
        ++level;
        return FALSE;
    });
    System::WindowsEventSink sink;
    while (level < std::size(levels)) {
        const char* const function = level % 2 == 0 ? "load" : "Config::load";
        const auto code = static_cast<quill::LogLevel>(level);
        const quill::MacroMetadata data("src/load.cpp:120", function, "{}", nullptr, code,
                                        quill::MacroMetadata::Event::Log);
        sink.write_log(&data, 0, "", "", "", "main", code, "", "", nullptr, "", "gr\u00fc\u00df\n");
    }
}

} // namespace
