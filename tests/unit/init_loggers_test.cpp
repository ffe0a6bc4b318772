#include "fakes/imports.h"
#include "logger/capture_sink.h"
#include "logger/init_loggers.h"
#include "logger/log.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

#include <regex>

using Logger::parse_log_level_config;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

// One set-up of the loggers in a folder of its own, with events kept instead of reported. The process must be a new
// one for each test, as CTest has it.
class InitLoggers : public testing::Test {
protected:
    TemporaryFolder folder;
    bool terminal = false;
    bool source_can_be_registered = true;
    std::vector<std::wstring> events;

    Fakes::Replacement<decltype(_isatty)> terminal_{Fakes::_isatty, [this](int) { return terminal ? 1 : 0; }};
    Fakes::Replacement<decltype(RegisterEventSourceW)> open_{Fakes::RegisterEventSourceW, [this](auto...) {
                                                                 SetLastError(ERROR_ACCESS_DENIED);
                                                                 return source_can_be_registered
                                                                            ? reinterpret_cast<HANDLE>(1)
                                                                            : nullptr;
                                                             }};
    Fakes::Replacement<decltype(ReportEventW)> report_{
        Fakes::ReportEventW,
        [this](auto, auto, auto, auto, auto, auto, auto, LPCWSTR* strings, auto) {
            events.emplace_back(strings[1]);
            return TRUE;
        },
        Fakes::Threads::all};

    void SetUp() override {
        std::filesystem::current_path(folder.path());
    }
    void TearDown() override {
        std::filesystem::current_path(folder.path().parent_path());
    }
};

TEST_F(InitLoggers, writes_bare_messages_to_the_event_log_when_output_is_redirected) {
    Logger::init_loggers(parse_log_level_config("warning,dll=debug,pkg_update=debug"));
    LOG_INFO(Logger::main, "dropped");
    LOG_WARNING(Logger::main, "kept {}", 1);
    LOG_DEBUG(Logger::dll, "kept {}", 2);
    Logger::stop_logging();
    EXPECT_THAT(events, ElementsAre(L"kept 1\n", L"kept 2\n"));
    EXPECT_THAT(folder.names(), testing::IsEmpty());
}

TEST_F(InitLoggers, writes_full_lines_to_the_terminal) {
    terminal = true;
    testing::internal::CaptureStdout();
    Logger::init_loggers(parse_log_level_config("info"));
    LOG_NOTICE(Logger::comm, "message");
    Logger::stop_logging();
    const std::regex line(R"(\d\d:\d\d:\d\d\.\d{9} \[\d+\] init_loggers_test\.cpp:\d\d     )"
                          "LOG_NOTICE    comm         message\n");
    const std::string shown = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(std::regex_match(shown, line)) << shown;
    EXPECT_TRUE(events.empty());
}

TEST_F(InitLoggers, falls_back_to_a_file_that_starts_anew_and_says_why) {
    source_can_be_registered = false;
    put_file(folder.path() / L"corvel.log", "of the last run\n");
    Logger::init_loggers(parse_log_level_config("info"));
    Logger::stop_logging();
    EXPECT_THAT(get_file(folder.path() / L"corvel.log"),
                AllOf(HasSubstr(" LOG_INFO      main         Failed to use preferred logging method: Access denied."),
                      Not(HasSubstr("last run"))));
}

TEST_F(InitLoggers, fall_back_to_standard_output_where_no_file_can_be_written) {
    source_can_be_registered = false;
    std::filesystem::create_directories(folder.path() / L"corvel.log" / L"x");
    testing::internal::CaptureStdout();
    Logger::init_loggers(parse_log_level_config("info"));
    Logger::stop_logging();
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                HasSubstr("Failed to use preferred logging method: Access denied.; "));
}

TEST_F(InitLoggers, lets_the_capture_sink_have_debug_and_above_whatever_the_level) {
    Logger::init_loggers(parse_log_level_config("warning"));
    LOG_ERROR(Logger::pkg_update, "before");
    Logger::pkg_update->flush_log();
    Logger::pkg_update_capture->set_disabled(false);
    LOG_TRACE_L1(Logger::pkg_update, "trace");
    LOG_DEBUG(Logger::pkg_update, "a");
    LOG_WARNING(Logger::pkg_update, "b\nc");
    Logger::stop_logging();
    EXPECT_EQ(Logger::pkg_update_capture->text(), "a\nb\nc\n");
    EXPECT_EQ(events.front(), L"before\n");
    EXPECT_THAT(events, Not(testing::Contains(L"a\n")));
}

TEST_F(InitLoggers, opens_every_logger_to_the_level_set) {
    Logger::init_loggers(parse_log_level_config("tracel2,api=none"));
    for (const auto* logger : {Logger::comm, Logger::dll, Logger::main, Logger::pkg_report, Logger::pkg_update}) {
        EXPECT_EQ(logger->get_log_level(), quill::LogLevel::TraceL2) << logger->get_logger_name();
    }
    EXPECT_EQ(Logger::api->get_log_level(), quill::LogLevel::None);
}

TEST_F(InitLoggers, shows_the_last_five_backtrace_statements_with_a_critical_one) {
    Logger::init_loggers(parse_log_level_config("critical"));
    for (int i = 1; i <= 6; ++i) {
        LOG_BACKTRACE(Logger::main, "step {}", i);
    }
    LOG_CRITICAL(Logger::main, "failed");
    Logger::stop_logging();
    EXPECT_THAT(events, testing::UnorderedElementsAre(L"failed\n", L"step 2\n", L"step 3\n", L"step 4\n", L"step 5\n",
                                                      L"step 6\n"));
}

} // namespace
