#include "logger/init_loggers.h"

#include "fakes/imports.h"
#include "logger/capture_sink.h"
#include "logger/log.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "system_win32/event_sink.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <quill/core/MacroMetadata.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <cwctype>
#include <set>

namespace {

class InitLoggers : public testing::Test {
protected:
    bool terminal = false;
    bool preferred_can_be_made = true;
    std::function<void()> prepare = [] {};

    // Expects what statements show, first in the preferred sink, then on standard output, then in files. A process can
    // set up the loggers once only, so each test does it in a child.
    void expect(
        const char* levels, const testing::Matcher<const std::string&>& shown,
        const std::function<void()>& log = [] {}) {
        EXPECT_EXIT(run(levels, log), testing::ExitedWithCode(0), shown);
    }

private:
    void run(const char* levels, const std::function<void()>& log) {
        Fakes::Replacements replaced;
        replaced.emplace_front(Fakes::_isatty, [this](int file) { return terminal && file == 1 ? 1 : 0; });
        // A named object could be somebody else's, and keep the tool from starting.
        replaced.emplace_front(Fakes::CreateMutexA, [](auto...) {
            SetLastError(ERROR_ALREADY_EXISTS);
            return nullptr;
        });
        std::string shown;
        {
            const TemporaryFolder folder;
            prepare();
            testing::internal::CaptureStdout();
            Logger::init_loggers(Logger::parse_log_level_config(levels), false, [this] {
                return preferred_can_be_made ? RecordedLog::make_sink() : throw std::runtime_error("Access denied.");
            });
            log();
            Logger::stop_logging();
            shown =
                fmt::format("{}\n{}", fmt::join(RecordedLog::taken(), "\n"), testing::internal::GetCapturedStdout());
            for (const auto& path : std::set<std::filesystem::path>(std::filesystem::directory_iterator("."), {})) {
                shown += path.filename().string() + ": " + get_file(path);
            }
        }
        std::fputs(shown.c_str(), stderr);
        std::fflush(nullptr);
        std::_Exit(0);
    }
};

TEST_F(InitLoggers, writes_to_the_preferred_sink_and_no_file_when_output_is_redirected) {
    const auto log = [] {
        LOG_INFO(Logger::main, "dropped");
        LOG_WARNING(Logger::main, "kept {}", "1\t2\r3\u00e4");
        LOG_DEBUG(Logger::dll, "kept {}", 2);
    };
    expect("warning,dll=debug,pkg_update=debug",
           "warning operator(): kept 1\\x092\\x0D3\\xC3\\xA4\ndebug operator(): kept 2\n", log);
}

TEST_F(InitLoggers, writes_lines_with_local_time_to_the_terminal) {
    terminal = true;
    _putenv_s("TZ", "JST-9");
    const std::string hour = fmt::format("{:02}", (std::time(nullptr) / 3600 + 9) % 24);
    expect("info",
           testing::MatchesRegex("\n" + hour +
                                 ":\\d\\d:\\d\\d\\.\\d\\d\\d\\d\\d\\d\\d\\d\\d \\[\\d+\\] init_loggers_test"
                                 "\\.cpp:\\d\\d     ?LOG_NOTICE    comm         message\n"),
           [] { LOG_NOTICE(Logger::comm, "message"); });
}

TEST_F(InitLoggers, falls_back_to_a_new_file_and_says_why_or_to_standard_output) {
    preferred_can_be_made = false;
    prepare = [] {
        put_file("other", "of somebody\n");
        std::filesystem::create_hard_link("other", "corvel.log");
        put_file("corvel.1.log", "somebody's\n");
    };
    expect("info", testing::MatchesRegex("\ncorvel\\.1\\.log: somebody's\ncorvel\\.log: .+ LOG_INFO      main         "
                                         "Failed to use preferred logging method: Access denied\\.\r?\n"
                                         "other: of somebody\n"));
    prepare = [] { std::filesystem::create_directories("corvel.log/x"); };
    expect("info", testing::HasSubstr("Failed to use preferred logging method: Access denied.; "));
}

TEST_F(InitLoggers, lets_the_capture_sink_have_debug_and_above_whatever_the_level) {
    const auto log = [] {
        LOG_ERROR(Logger::pkg_update, "before");
        Logger::pkg_update->flush_log();
        Logger::pkg_update_capture->set_disabled(false);
        LOG_TRACE_L1(Logger::pkg_update, "trace");
        LOG_DEBUG(Logger::pkg_update, "a");
        LOG_WARNING(Logger::pkg_update, "b\nc");
        Logger::stop_logging();
        std::printf("%s", Logger::pkg_update_capture->text().c_str());
    };
    expect("warning", "error operator(): before\nwarning operator(): b\nwarning operator(): c\na\nb\nc\n", log);
}

TEST_F(InitLoggers, opens_every_logger_to_the_level_set_and_shows_five_backtrace_statements_with_a_critical_one) {
    const auto log = [] {
        for (const auto* logger : {Logger::api, Logger::comm, Logger::dll, Logger::pkg_report, Logger::pkg_update}) {
            std::printf("%s=%d ", logger->get_logger_name().c_str(), static_cast<int>(logger->get_log_level()));
        }
        for (int i = 1; i <= 6; ++i) {
            LOG_BACKTRACE(Logger::main, "{}", i);
        }
        LOG_CRITICAL(Logger::main, "failed");
    };
    expect("tracel2,api=none,main=critical",
           "critical operator(): failed\nbacktrace operator(): 2\nbacktrace operator(): 3\nbacktrace operator(): 4\n"
           "backtrace operator(): 5\nbacktrace operator(): 6\napi=10 comm=1 dll=1 pkg_report=1 pkg_update=1 ",
           log);
}

TEST(EventSink, reports_the_statement_with_its_origin_and_the_statement_alone_by_its_level) {
    const auto source = reinterpret_cast<HANDLE>(1);
    std::string identifiers;
    std::size_t level = 0;
    Fakes::Replacements replaced;
    replaced.emplace_front(Fakes::RegisterEventSourceW, [&](LPCWSTR server, LPCWSTR name) {
        return server == nullptr && std::wstring_view(name) == L"corvel" ? source : nullptr;
    });
    replaced.emplace_front(Fakes::DeregisterEventSource,
                           [&](HANDLE handle) { return handle == source ? TRUE : FALSE; });
    replaced.emplace_front(Fakes::ReportEventW, [&](HANDLE handle, WORD type, WORD category, DWORD identifier,
                                                    PSID user, WORD count, DWORD size, LPCWSTR* strings, LPVOID data) {
        const auto severity = level == 6  ? EVENTLOG_WARNING_TYPE
                              : level > 6 ? EVENTLOG_ERROR_TYPE
                                          : EVENTLOG_INFORMATION_TYPE;
        EXPECT_EQ(std::tuple(handle, int{type}, category, user, count, size, data),
                  std::tuple(source, severity, 0, nullptr, 2, 0U, nullptr));
        identifiers += fmt::format("{:x} ", identifier);
        const auto name = level > 8 ? "error" : Logger::level_name(static_cast<Logger::Level>(level));
        std::wstring priority(name.begin(), name.end());
        std::ranges::transform(priority, priority.begin(), std::towupper);
        EXPECT_EQ(strings[0], L"MESSAGE=gr\u00fc\u00df\n  CODE_FILE=load.cpp  CODE_LINE=120  CODE_FUNC=load  "
                              L"SYSLOG_IDENTIFIER=corvel-main  PRIORITY=LOG_" +
                                  priority);
        EXPECT_STREQ(strings[1], L"gr\u00fc\u00df\n");
        return FALSE;
    });
    System::WindowsEventSink sink;
    for (level = 0; level < 10; ++level) {
        const auto code = static_cast<quill::LogLevel>(level);
        const quill::MacroMetadata data("src/load.cpp:120", level % 2 == 0 ? "load" : "Config::load", "{}", nullptr,
                                        code, quill::MacroMetadata::Event::Log);
        sink.write({data, "main", code, "", "gr\u00fc\u00df\n"});
    }
    EXPECT_EQ(identifiers,
              "20000003 20000002 20000001 20000004 20000005 20000009 20000006 20000007 20000008 20000007 ");
}

} // namespace
