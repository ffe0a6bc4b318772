// The set command on a faked machine: what it asks of the service, and what it says.

#include "machine/failures.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace {

using Set = FailingMachine;

const std::string notice =
    "Please restart the corvel-tracker service manually so that the changes can go into effect.\n";

TEST_F(Set, stops_configures_and_starts_the_service_and_waits_as_the_service_asks) {
    constexpr auto stop = "control 1; ";
    constexpr auto start = "configure 3 as 1; start with 0";
    const std::string stopping = "error timeout reached corvel service state change to SERVICE_STOPPED\n" + notice;
    const auto unexpected = [](const char* state, const char* expected) {
        return fmt::format("error unexpected corvel service state:{} expected:{}\n{}", state, expected, notice);
    };
    struct Case {
        std::deque<ServiceState> states;
        std::string calls, out;
    };
    std::vector<Case> cases = {
        {{{SERVICE_RUNNING}, {SERVICE_STOP_PENDING}, {SERVICE_STOPPED}, {SERVICE_START_PENDING}, {SERVICE_RUNNING}},
         fmt::format("{}sleep 1000; {}; sleep 1000", stop, start)},
        {{{SERVICE_STOPPED}, {SERVICE_RUNNING}}, start},
        {{{SERVICE_STOP_PENDING}, {SERVICE_STOPPED}, {SERVICE_RUNNING}}, start},
        {{{SERVICE_STOPPED}, {SERVICE_START_PENDING}, {SERVICE_STOPPED}},
         fmt::format("{}; sleep 1000", start),
         unexpected("SERVICE_STOPPED", "SERVICE_RUNNING")},
        // 30 seconds are not over yet after six times five.
        {{{SERVICE_RUNNING}, {SERVICE_STOP_PENDING, 50009}},
         fmt::format("{}sleep 5000; sleep 5000; sleep 5000; sleep 5000; sleep 5000; sleep 5000; sleep 5000", stop),
         stopping},
    };
    for (const auto& [hint, sleep] : {std::pair(0UL, 1000), {9999UL, 1000}, {10010UL, 1001}, {99990UL, 9999}, {200000UL, 10000}}) {
        cases.push_back({{{SERVICE_STOPPED}, {SERVICE_START_PENDING, hint}, {SERVICE_RUNNING}},
                         fmt::format("{}; sleep {}", start, sleep)});
    }
    const char* const names[] = {"service_status_unknown", "SERVICE_STOPPED",          "SERVICE_START_PENDING",
                                 "SERVICE_STOP_PENDING",   "SERVICE_RUNNING",          "SERVICE_CONTINUE_PENDING",
                                 "SERVICE_PAUSE_PENDING",  "SERVICE_PAUSED",           "service_status_unknown"};
    for (const DWORD state : {0UL, 2UL, 4UL, 5UL, 6UL, 7UL, 8UL}) {
        cases.push_back({{{SERVICE_RUNNING}, {state}}, "control 1", unexpected(names[state], "SERVICE_STOPPED")});
    }
    for (const Case& each : cases) {
        restore();
        service = each.states;
        const Outcome outcome = run(set_tenant);
        EXPECT_EQ(fmt::format("{}", fmt::join(outcome.calls, "; ")),
                  "open manager for 0xf003f; open corvel-tracker for 0xf01ff; " + each.calls);
        EXPECT_EQ(outcome.out, each.out);
        EXPECT_EQ(outcome.end + outcome.err, "status 0");
    }
}

TEST_F(Set, says_what_failed) {
    const std::string loading = "Fatal exception occurred loading config: FATAL ERROR: ";
    const std::string unreadable = loading + "Failed to read config file: ";
    const std::string file = "<folder>\\ProgramData\\corvel\\corvel.json";
    const std::string denied = ": 0x5 - Access denied.\n" + notice;
    expect_messages({
        {"SHGetKnownFolderPath", 1, set_tenant, "", loading + "Could not resolve program data directory\n"},
        {"SHGetKnownFolderPath", 2, set_tenant, "", "FATAL ERROR: Could not resolve program data directory\n"},
        {"GetFileAttributesW", 1, set_tenant, "", unreadable + "filesystem error: exists: Access denied. [" + file + "]\n"},
        {"CreateFileW", 1, set_tenant, "", unreadable + "read: " + file + ": Permission denied\n"},
        {"ReadFile", 1, set_tenant, "", unreadable + "read: " + file + ": Read fault.\n"},
        {"CreateDirectoryW", 1, set_tenant, "", "Could not create config directory: Access denied.\n", "", "status 1", false},
        {"ConvertStringSecurityDescriptorToSecurityDescriptorW", 1, set_tenant, "",
         "Could not create config directory: Access denied.\n", "", "status 1", false},
        {"CreateFileW", 2, set_tenant, "", "Could not write new config: Permission denied\n"},
        {"WriteFile", 1, set_tenant, "", "Could not write new config: No space left on device\n"},
        {"FlushFileBuffers", 1, set_tenant, "", "Could not write new config: Disk full.\n"},
        {"MoveFileExW", 1, set_tenant, "", "Could not write new config: Access denied.\n", "", "status 1"},
        {"OpenSCManagerW", 1, set_tenant, "error opening service manager" + denied, "", "", "status 0"},
        {"OpenServiceW", 1, set_tenant, "error opening service manager on corvel service" + denied, ""},
        {"QueryServiceStatus", 2, set_tenant, "error querying service manager for corvel service info" + denied, ""},
        {"ControlService", 1, set_tenant, "error stopping corvel service" + denied, ""},
        {"ChangeServiceConfig2W", 1, set_tenant, "", "",
         "error restart_corvel_service: error setting corvel service to delayed auto start: 0x5 - Access denied."},
        {"StartServiceW", 1, set_tenant, "error starting corvel service" + denied, ""},
        {nullptr, 0, {"set"}, "", "Tenant ID must be configured to non-nil value to start agent.\n", "", "status 1"},
        {nullptr, 0, {"set", "tenant_id", "x", "unknown", "y", "self_update", "z", "host_id", ""}, "",
         "Error: tenant_id must be a valid UUID and not nil\nError: host_id must be a valid UUID and not nil\n"
         "Error parsing value for self_update: [json.exception.type_error.302] type must be boolean, but is string\n",
         "", "status 1"},
        {nullptr, 0, {"set", "a", "b\"€"}, "", "Unknown key/value pairs: {\"a\": \"b\\\"€\"}\n", "", "status 1"},
        {nullptr, 0, {"set", "log_level", "\xC3"}, "",
         "Error parsing value for log_level: [json.exception.parse_error.101] parse error at line 1, column 1: syntax error "
         "while parsing value - invalid literal; last read: '\xEF\xBF\xBD'\n"},
    });
}

TEST_F(Set, reads_nothing_if_a_value_is_missing_and_writes_nothing_if_one_is_bad) {
    const std::string malformed = "{";
    configure(malformed);
    EXPECT_EQ(run({"set", "tenant_id"}).err, "The set command must have an even number of arguments\n");
    EXPECT_EQ(run(set_tenant).err, "Fatal exception occurred loading config: FATAL ERROR: Config file is malformed: "
                                   "[json.exception.parse_error.101] parse error at line 1, column 2: syntax error while "
                                   "parsing object key - unexpected end of input; expected string literal\n");
    configure("{}");
    for (const Lines& bad : {Lines{"set", "tenant_id", tenant, "self_update", "x"}, {"set", "tenant_id", tenant, "x", "y"}}) {
        const Outcome outcome = run(bad);
        EXPECT_EQ(outcome.facts.at("configuration"), "{}");
        EXPECT_THAT(outcome.calls, testing::IsEmpty());
    }
}

TEST_F(Set, writes_what_file_environment_and_operands_hold_the_last_before_the_first) {
    configure(R"({"webapp_addr": "file", "self_update_addr": "file", "host_id": "6f9619ff-8b86-d011-b42d-00c04fc964fe",)"
              R"( "skip_power_check": true, "log_level": "error"})");
    const EnvironmentVariable variables[] = {{L"WEBAPP_ADDR", L"variable"}, {L"SELF_UPDATE_ADDR", L""},
                                             {L"TENANT_ID", L"no UUID"},    {L"HOST_ID", L"no UUID"},
                                             {L"SELF_UPDATE", L"yes"},      {L"LOG_LEVEL", L"debug"},
                                             {L"SELF_UPDATE_PROFILE", nullptr}};
    const Outcome outcome = run({"set", "webapp_addr", "first", "tenant_id", tenant, "webapp_addr", "last"});
    EXPECT_EQ(outcome.facts.at("configuration"),
              R"({"host_id":"00000000-0000-0000-0000-000000000000","log_level":"error","self_update":true,)"
              R"("self_update_addr":"","self_update_profile":"production","skip_power_check":true,)"
              R"("tenant_id":"6f9619ff-8b86-d011-b42d-00c04fc964ff","webapp_addr":"last"})");
    EXPECT_THAT(outcome.log,
                testing::IsSupersetOf({"debug config_load: Using environment variable for config: HOST_ID",
                                       "error config_load: Ignoring malformed configuration value for SELF_UPDATE: "
                                       "[json.exception.type_error.302] type must be boolean, but is string"}));
}

} // namespace
