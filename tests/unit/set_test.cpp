// The set command on a faked machine: what it asks of the service, and what it says.

#include "machine/machine.h"

using Set = Machine;

const std::string notice = "Please restart the corvel-tracker service manually so that the changes can go into effect.\n";

TEST_F(Set, stops_configures_and_starts_the_service_and_waits_as_the_service_asks) {
    const std::string start = "delay start; start";
    const auto unexpected = [](const char* state, const char* expected) { return fmt::format("error unexpected corvel service state:{} expected:{}\n{}", state, expected, notice); };
    std::vector<std::tuple<decltype(service), std::string, std::string>> cases = {{{{4, 0}, {3, 0}, {1, 0}, {2, 0}, {4, 0}}, "control 1; sleep 1000; delay start; start; sleep 1000", ""},
        {{{1, 0}, {4, 0}}, start, ""}, {{{3, 0}, {1, 0}, {4, 0}}, start, ""}, {{{1, 0}, {2, 0}, {1, 0}}, start + "; sleep 1000", unexpected("SERVICE_STOPPED", "SERVICE_RUNNING")},
        // 30 seconds are not over yet after six times five.
        {{{7, 0}, {3, 50009}}, "control 1; sleep 5000; sleep 5000; sleep 5000; sleep 5000; sleep 5000; sleep 5000; sleep 5000",
            "error timeout reached corvel service state change to SERVICE_STOPPED\n" + notice}};
    for (const auto& [hint, sleep] : {std::pair(0UL, 1000), {9999UL, 1000}, {10010UL, 1001}, {99990UL, 9999}, {200000UL, 10000}}) {
        cases.push_back({{{1, 0}, {2, hint}, {4, 0}}, fmt::format("{}; sleep {}", start, sleep), ""});
    }
    const std::pair<DWORD, const char*> states[] = {{0, "service_status_unknown"}, {2, "SERVICE_START_PENDING"}, {4, "SERVICE_RUNNING"}, {5, "SERVICE_CONTINUE_PENDING"}, {6, "SERVICE_PAUSE_PENDING"},
        {7, "SERVICE_PAUSED"}, {8, "service_status_unknown"}};
    for (const auto& [state, name] : states) { cases.push_back({{{4, 0}, {state, 0}}, "control 1", unexpected(name, "SERVICE_STOPPED")}); }
    for (const auto& [shown, calls, out] : cases) {
        restore();
        service = shown;
        const Outcome outcome = run(set_tenant);
        EXPECT_EQ(fmt::format("{}", fmt::join(outcome.calls, "; ")), "open manager for 0xf003f; open corvel-tracker for 0xf01ff; " + calls);
        EXPECT_EQ(outcome.out, out);
        EXPECT_EQ(outcome.end + outcome.err, "status 0");
    }
}

TEST_F(Set, says_what_failed) {
    EXPECT_THAT(run({"set", "tenant_id", ""}).log, testing::Not(testing::Contains(testing::StartsWith("critical")))) << "an empty text is no failure";
    const std::string loading = "Fatal exception occurred loading config: FATAL ERROR: ";
    const std::string file = R"(<folder>\ProgramData\corvel\corvel.json)";
    const std::string denied = ": 0x5 - Access denied.\n" + notice;
    const std::string no_folder = "Could not create config directory: Access denied.\n";
    expect_messages(set_tenant, "status 1",
        {{"SHGetKnownFolderPath 1", "", loading + "Could not resolve program data directory\n"}, {"SHGetKnownFolderPath 2", "", "FATAL ERROR: Could not resolve program data directory\n"},
            {"GetFileAttributesW 1", "", loading + "Failed to read config file: filesystem error: exists: Access denied. [" + file + "]\n"},
            {"CreateFileW 1", "", loading + "Failed to read config file: read: " + file + ": Permission denied\n"},
            {"ReadFile 1", "", loading + "Failed to read config file: read: " + file + ": Read fault.\n"}, {"CreateFileW 2", "", "Could not write new config: Permission denied\n"},
            {"WriteFile 1", "", "Could not write new config: No space left on device\n"}, {"FlushFileBuffers 1", "", "Could not write new config: Disk full.\n"},
            {"MoveFileExW 1", "", "Could not write new config: Access denied.\n"}});
    expect_messages(set_tenant, "status 1", {{"CreateDirectoryW 1", "", no_folder}, {"ConvertStringSecurityDescriptorToSecurityDescriptorW 1", "", no_folder}}, false);
    expect_messages(set_tenant, "status 0",
        {{"OpenSCManagerW 1", "error opening service manager" + denied, ""}, {"OpenServiceW 1", "error opening service manager on corvel service" + denied, ""},
            {"QueryServiceStatus 2", "error querying service manager for corvel service info" + denied, ""}, {"ControlService 1", "error stopping corvel service" + denied, ""},
            {"ChangeServiceConfig2W 1", "", "", "error restart_corvel_service: error setting corvel service to delayed auto start: 0x5 - Access denied."},
            {"StartServiceW 1", "error starting corvel service" + denied, ""}});
}
