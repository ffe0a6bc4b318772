#include "logger/init_loggers.h"

#include "logger/capture_sink.h"
#include "logger/log.h"
#include "support/unit_test.h"
#include "system_win32/event_sink.h"

#include <quill/core/MacroMetadata.h>

#include <cstdlib>
#include <set>

using namespace testing;

class InitLoggers : public testing::Test {
protected:
    bool terminal = false;
    bool preferred_can_be_made = true;
    std::function<void()> prepare = [] {};

    // Expects what statements show, first in the preferred sink, then on standard output, then in files. A process can
    // set up the loggers once only, so each test does it in a child.
    void expect(
        const char* levels, const Matcher<const std::string&>& shown, const std::function<void()>& log = [] {}) {
        const auto run = [&] {
            const Fakes::Replacement stream(Fakes::_isatty, [this](int file) { return terminal && file == 1 ? 1 : 0; });
            // A named object could be somebody else's, and keep the tool from starting.
            const Fakes::Replacement mutex(Fakes::CreateMutexA, [](auto...) { return Fakes::refuse(ERROR_ALREADY_EXISTS, HANDLE{}); });
            // Made before the loggers, and so removed after they have closed their files.
            static const TemporaryFolder folder;
            prepare();
            testing::internal::CaptureStdout();
            const auto preferred = [this] { return preferred_can_be_made ? RecordedLog::make_sink() : throw std::runtime_error("Access denied."); };
            Logger::init_loggers(Logger::parse_log_level_config(levels), false, preferred);
            log();
            Logger::stop_logging();
            fmt::print(stderr, "{}\n{}", fmt::join(RecordedLog::lines, "\n"), testing::internal::GetCapturedStdout());
            for (const auto& path : std::set<std::filesystem::path>(std::filesystem::directory_iterator("."), {})) { fmt::print(stderr, "{}: {}", path.filename().string(), get_file(path)); }
            std::exit(0);
        };
        EXPECT_EXIT(run(), ExitedWithCode(0), shown);
    }
};

TEST_F(InitLoggers, writes_lines_with_local_time_to_the_terminal) {
    terminal = true;
    _putenv_s("TZ", "JST-9");
    const std::string hour = fmt::format("{:02}", (std::time(nullptr) / 3600 + 9) % 24);
    expect("info",
        MatchesRegex("\n" + hour +
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
    expect("info", MatchesRegex("\ncorvel\\.1\\.log: somebody's\ncorvel\\.log: .+ LOG_INFO      main         "
                                "Failed to use preferred logging method: Access denied\\.\r?\nother: of somebody\n"));
    prepare = [] { std::filesystem::create_directories("corvel.log/x"); };
    expect("info", HasSubstr("Failed to use preferred logging method: Access denied.; "));
}

TEST_F(InitLoggers, opens_every_logger_to_its_level_and_the_capture_sink_to_debug_and_shows_five_backtrace_statements) {
    const auto log = [] {
        for (const auto* logger : {Logger::api, Logger::comm, Logger::dll, Logger::pkg_report, Logger::pkg_update}) {
            fmt::print("{}={} ", logger->get_logger_name(), static_cast<int>(logger->get_log_level()));
        }
        for (int i = 1; i <= 6; ++i) { LOG_BACKTRACE(Logger::main, "{}", i); }
        LOG_INFO(Logger::main, "dropped");
        LOG_WARNING(Logger::main, "kept {}", "1\t2\r3\u00e4");
        LOG_CRITICAL(Logger::main, "failed");
        Logger::pkg_update_capture->set_disabled(false);
        LOG_TRACE_L1(Logger::pkg_update, "trace");
        LOG_DEBUG(Logger::pkg_update, "a");
        LOG_WARNING(Logger::pkg_update, "b\nc");
        Logger::stop_logging();
        fmt::print("{}", Logger::pkg_update_capture->text());
    };
    expect("tracel2,api=none,main=warning,pkg_update=warning",
        "warning operator(): kept 1\\x092\\x0D3\\xC3\\xA4\ncritical operator(): failed\nbacktrace operator(): 2\nbacktrace operator(): 3\nbacktrace operator(): 4\n"
        "backtrace operator(): 5\nbacktrace operator(): 6\nwarning operator(): b\nwarning operator(): c\napi=10 comm=1 dll=1 pkg_report=1 pkg_update=3 a\nb\nc\n",
        log);
}

TEST(EventSink, reports_the_statement_with_its_origin_and_the_statement_alone_by_its_level) {
    const auto source = reinterpret_cast<HANDLE>(1);
    std::string reported;
    const auto open = [&](LPCWSTR server, LPCWSTR name) { return server == nullptr && std::wstring_view(name) == L"corvel" ? source : nullptr; };
    const Fakes::Replacement begin(Fakes::RegisterEventSourceW, open);
    const Fakes::Replacement end(Fakes::DeregisterEventSource, [&](HANDLE handle) { return reported += handle == source ? "end" : "?", TRUE; });
    const auto report = [&](HANDLE handle, WORD type, WORD category, DWORD identifier, PSID user, WORD count, DWORD size, LPCWSTR* strings, LPVOID data) {
        EXPECT_EQ(std::tuple(handle, category, user, count, size, data), std::tuple(source, 0, nullptr, 2, 0U, nullptr));
        const std::string text = std::filesystem::path(strings[0]).string();
        EXPECT_THAT(text, StartsWith("MESSAGE=grüß\n  CODE_FILE=load.cpp  CODE_LINE=120  CODE_FUNC=load  SYSLOG_IDENTIFIER=corvel-main  PRIORITY=LOG_"));
        EXPECT_STREQ(strings[1], L"gr\u00fc\u00df\n");
        return reported += fmt::format("{}:{:x}:{} ", type, identifier, text.substr(text.rfind('_') + 1)), FALSE;
    };
    const Fakes::Replacement reports(Fakes::ReportEventW, report);
    for (System::WindowsEventSink sink; const int level : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}) {
        const auto code = static_cast<quill::LogLevel>(level);
        const quill::MacroMetadata data("src/load.cpp:120", level % 2 == 0 ? "load" : "Config::load", "{}", nullptr, code, quill::MacroMetadata::Event::Log);
        sink.write({data, "main", code, "", "grüß\n"});
    }
    EXPECT_EQ(reported, "4:20000003:TRACEL3 4:20000002:TRACEL2 4:20000001:TRACEL1 4:20000004:DEBUG 4:20000005:INFO 4:20000009:NOTICE "
                        "2:20000006:WARNING 1:20000007:ERROR 1:20000008:CRITICAL 1:20000007:ERROR end");
    const Fakes::Replacement refuse(Fakes::RegisterEventSourceW, [](auto...) { return Fakes::refuse(ERROR_ACCESS_DENIED, HANDLE{}); });
    EXPECT_THROW(System::WindowsEventSink(), std::system_error);
}
