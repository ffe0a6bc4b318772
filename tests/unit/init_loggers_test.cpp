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

#include <cstdio>
#include <cstdlib>
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
        replaced.emplace_front(Fakes::_isatty, [this](int) { return terminal ? 1 : 0; });
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

TEST_F(InitLoggers, writes_full_lines_to_the_terminal) {
    terminal = true;
    expect("info",
           testing::MatchesRegex("\n\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d\\d\\d\\d\\d\\d\\d \\[\\d+\\] init_loggers_test"
                                 "\\.cpp:\\d\\d     ?LOG_NOTICE    comm         message\n"),
           [] { LOG_NOTICE(Logger::comm, "message"); });
}

TEST_F(InitLoggers, falls_back_to_a_file_that_starts_anew_and_says_why) {
    preferred_can_be_made = false;
    prepare = [] {
        put_file("other", "of somebody\n");
        std::filesystem::create_hard_link("other", "corvel.log");
        put_file("corvel.1.log", "somebody's\n");
    };
    expect("info", testing::MatchesRegex("\ncorvel\\.1\\.log: somebody's\ncorvel\\.log: .+ LOG_INFO      main         "
                                         "Failed to use preferred logging method: Access denied\\.\r?\n"
                                         "other: of somebody\n"));
}

TEST_F(InitLoggers, falls_back_to_standard_output_where_no_file_can_be_written) {
    preferred_can_be_made = false;
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
            std::printf("%d ", static_cast<int>(logger->get_log_level()));
        }
        for (int i = 1; i <= 6; ++i) {
            LOG_BACKTRACE(Logger::main, "{}", i);
        }
        LOG_CRITICAL(Logger::main, "failed");
    };
    expect("tracel2,api=none,main=critical",
           "critical operator(): failed\nbacktrace operator(): 2\nbacktrace operator(): 3\nbacktrace operator(): 4\n"
           "backtrace operator(): 5\nbacktrace operator(): 6\n10 1 1 1 1 ",
           log);
}

TEST(EventSink, reports_the_statement_with_its_origin_and_the_statement_alone_as_its_level_is_known) {
    const std::tuple<int, DWORD, const wchar_t*> levels[] = {
        {4, 3, L"TRACEL3"}, {4, 2, L"TRACEL2"}, {4, 1, L"TRACEL1"}, {4, 4, L"DEBUG"},    {4, 5, L"INFO"},
        {4, 9, L"NOTICE"},  {2, 6, L"WARNING"}, {1, 7, L"ERROR"},   {1, 8, L"CRITICAL"}, {1, 7, L"ERROR"},
    };
    const auto source = reinterpret_cast<HANDLE>(1);
    std::size_t level = 0;
    Fakes::Replacements replaced;
    replaced.emplace_front(Fakes::RegisterEventSourceW, [&](LPCWSTR server, LPCWSTR name) {
        return server == nullptr && std::wstring_view(name) == L"corvel" ? source : nullptr;
    });
    replaced.emplace_front(Fakes::DeregisterEventSource,
                           [&](HANDLE handle) { return handle == source ? TRUE : FALSE; });
    replaced.emplace_front(Fakes::ReportEventW, [&](HANDLE handle, WORD type, WORD category, DWORD identifier,
                                                    PSID user, WORD count, DWORD size, LPCWSTR* strings, LPVOID data) {
        const auto [expected_type, number, priority] = levels[level++];
        EXPECT_EQ(std::tuple(handle, type, category, identifier, user, count, size, data),
                  std::tuple(source, expected_type, 0, 0x20000000 + number, nullptr, 2, 0U, nullptr));
        EXPECT_EQ(strings[0], L"MESSAGE=gr\u00fc\u00df\n  CODE_FILE=load.cpp  CODE_LINE=120  CODE_FUNC=load  "
                              L"SYSLOG_IDENTIFIER=corvel-main  PRIORITY=LOG_" +
                                  std::wstring(priority));
        EXPECT_STREQ(strings[1], L"gr\u00fc\u00df\n");
        return FALSE;
    });
    System::WindowsEventSink sink;
    for (std::size_t each = 0; each < std::size(levels); ++each) {
        const auto code = static_cast<quill::LogLevel>(each);
        const quill::MacroMetadata data("src/load.cpp:120", each % 2 == 0 ? "load" : "Config::load", "{}", nullptr,
                                        code, quill::MacroMetadata::Event::Log);
        sink.write({data, "main", code, "", "gr\u00fc\u00df\n"});
    }
    EXPECT_EQ(level, std::size(levels));
}

} // namespace
