// create_support_bundle on a faked machine: what the bundle tells of it, and what fails.

#include "machine/machine.h"

using namespace testing;

class SupportBundle : public Machine {
protected:
    // Expects the bundle of this machine to differ from that of a healthy one in these facts and in nothing else, one
    // without a value being absent, and the log to hold a text. Then restores the machine.
    Outcome expect_changes(const Facts& changes, const std::string& logged = "", const Change& change = nullptr, const Lines& arguments = create_support_bundle) {
        Outcome outcome = run(arguments, change);
        Facts expected = healthy_facts;
        for (const auto& [name, value] : changes) { expected[name] = value; }
        std::erase_if(expected, [&](const auto& fact) { return changes.contains(fact.first) && fact.second.empty(); });
        EXPECT_EQ(difference(expected, outcome.facts), "");
        EXPECT_THAT(fmt::format("{}", fmt::join(outcome.log, "\n")), HasSubstr(logged));
        restore();
        return outcome;
    }
    const Facts healthy_facts = run(create_support_bundle).facts;
    const std::string creating = "creating corvel support bundle at: <folder>\\corvel-support-bundle_<time>.zip\n";

    void SetUp() override { restore(); }
};

TEST_F(SupportBundle, of_a_healthy_machine_holds_everything) {
    put_file(windows / L"Temp" / L"corvel" / L"x.LOG", "not collected");
    std::filesystem::create_directory(agent / L"folder.log");
    const Outcome outcome = run(create_support_bundle);
    EXPECT_EQ(outcome.end + outcome.err, "status 0");
    EXPECT_EQ(outcome.out, creating + "SUCCESS writing corvel support bundle\n");
    EXPECT_EQ(outcome.calls.front(), "powershell.exe Get-WindowsUpdateLog -LogPath \"<folder>\\WindowsUpdate.log\"");
    EXPECT_EQ(outcome.calls.back(), "open corvel-tracker for 0x4");
    EXPECT_THAT(outcome.calls, IsSupersetOf({"read 128000", "open manager for 0x4"}));
    EXPECT_THAT(FakedWmi::asked, ElementsAre("SELECT OperatingSystemSKU FROM Win32_OperatingSystem",
                                     "SELECT Name, LicenseFamily FROM SoftwareLicensingProduct WHERE LicenseIsAddOn=FALSE AND "
                                     "PartialProductKey<>NULL AND ApplicationID='55c92734-d682-4d71-983e-d6ec3f16059f'",
                                     "SELECT Name, LicenseFamily, ApplicationId, LicenseStatus FROM SoftwareLicensingProduct", "end COM"));
    Facts expected = facts_of(R"({"agent_package_type": "MSI", "arch": {"build": "x86_64", "native": "x64"}, "cfgfile_contents": "{\"log_level\":\"debug\"}",)"
                              R"( "cfgfile_exists": true, "cfgfile_json_malformed": false, "cfgfile_path_findable": true, "cfgfile_readable": true, "entitlements":)"
                              R"( [{"appid": "id", "family": "Pro", "status": "LICENSED", "type": "license", "value": "w\ufffd"}], "hostname": "grün-and-more-than-fifteen",)"
                              R"( "ip_addresses": "10.0.0.1", "logstyle": 0, "os_class": 4, "os_licenses": ["Pro", "product_type=48"],)"
                              R"( "os_name": "Windows 11 for x64-based Systems", "system_uptime_since": "2025-01-31 14:05:09.0000000"})");
    expected.merge(Facts{{"windows_cbs.log", "1"}, {"windows_reportingevents.log", "2"}, {"windows_update.log", "3"}, {"archive", "complete"}, {"agent.log", get_file(agent / L"agent.log")},
        {"setup.log", "setup"}, {"update.log", "update"}, {"corvel.json", R"({"log_level":"debug"})"}, {"configuration", R"({"log_level":"debug"})"}, {"corvel_svcstatus.txt", "SERVICE_RUNNING"},
        {"corvel_syslog.txt", outcome.facts.at("corvel_syslog.txt")}});
    EXPECT_EQ(difference(expected, outcome.facts), "");
}

TEST_F(SupportBundle, names_the_processor_and_the_desktop_that_looks_like_a_server) {
    product = 175;
    expect_changes({});
    product = 12;
    expect_changes({{"fact os_name", "\"Windows Server 2022 (Server Core Installation)\""}});
    const std::tuple<USHORT, WORD, const char*> processors[] = {{0, 0, "x86"}, {0, 5, "arm"}, {0, 6, "ia64"}, {0, 9, "x64"}, {0, 12, "arm64"}, {0, 77, "x86_64"}, {0xAA64, 9, "arm64"}};
    for (const auto& [machine, number, native] : processors) {
        restore();
        native_machine = machine;
        processor = number;
        const Facts facts = run(create_support_bundle).facts;
        EXPECT_EQ(facts.at("fact arch"), fmt::format(R"({{"build":"x86_64","native":"{}"}})", native));
    }
}

TEST_F(SupportBundle, tells_what_wmi_knows) {
    const std::tuple<FakedWmi::Value, const char*, const char*> numbers[] = {{L"175", "175", ""}, {L"x", "0", "error detect_windows_product_type: invalid stoul argument"},
        {L"99999999999", "0", "error detect_windows_product_type: stoul argument out of range"}, {{}, "0", "error get_wmi_property: OperatingSystemSKU type is not VT_BSTR or VT_I4"}};
    for (const auto& [sku, number, reason] : numbers) {
        FakedWmi::rows[0][L"OperatingSystemSKU"] = sku;
        expect_changes({{"fact os_licenses", fmt::format(R"(["Pro","product_type={}"])", number)}}, reason);
    }
    FakedWmi::rows.clear();
    expect_changes({{"fact os_licenses", R"(["Unknown","product_type=0"])"}, {"fact entitlements", "[]"}});
    FakedWmi::rows.clear();
    const std::tuple<const wchar_t*, FakedWmi::Value, FakedWmi::Value> licences[] = {
        {L"a", L"F", 0L}, {L"same", L"F", 0L}, {L"b", L"G", 0L}, {L"c", L"F", L"6"}, {L"d", L"", 7L}, {L"damaged, so the last", L"H", L"x"}, {L"f", L"I", 1L}};
    for (const auto& [name, family, status] : licences) { FakedWmi::rows.push_back({{L"Name", name}, {L"LicenseFamily", family}, {L"LicenseStatus", status}, {L"OperatingSystemSKU", 1L}}); }
    const char* const listed = R"([{"family":"F","status":"UNLICENSED","type":"license","value":"a"},{"family":"G","status":"UNLICENSED","type":"license","value":"b"},)"
                               R"({"family":"F","status":"EXTENDED_GRACE","type":"license","value":"c"},{"type":"license","value":"d"}])";
    expect_changes({{"fact os_licenses", R"(["F","product_type=1"])"}, {"fact entitlements", listed}}, "error get_windows_licenses: invalid stol argument");
    expect_changes({}, "", failing(Fakes::CoInitializeEx, S_FALSE));
    EXPECT_THAT(FakedWmi::asked, Not(Contains("end COM"))) << "COM was initialised before";
}

TEST_F(SupportBundle, tells_the_address_of_the_default_route_if_a_host_resolves) {
    const Facts unknown = {{"fact ip_addresses", R"("Unknown ip")"}};
    unresolvable = L"app.corvel.example";
    expect_changes({}, "error detect_ip_address: Failed to resolve web api url");
    unresolvable = L"app.corvel.example 1.1.1.1";
    expect_changes(unknown, "error detect_ip_address: Failed to fallback on well known host");
    for (const DWORD rows : {1UL, 0UL}) {
        adapters = rows;
        expect_changes(unknown, "error get_best_interface_ip4: Failed to find interface 2 in ip table for 3137404930");
    }
}

TEST_F(SupportBundle, keeps_what_detection_found_before_it_ended) {
    expect_changes(
        {{"fact hostname", R"("unknown")"}, {"fact ip_addresses", R"("Unknown ip")"}, {"fact system_uptime_since", R"("unknown")"}, {"fact arch", R"({"build":"x86_64","native":"unknown"})"}},
        "error zip_add_agent_metadata: FATAL ERROR: Failed to startup winsock: 0x", failing(Fakes::WSAStartup, WSASYSNOTREADY));
}

TEST_F(SupportBundle, reads_the_event_log_whatever_the_size_of_a_record) {
    const std::string head = "2025-01-31 14:05:09.0000000\n7\nWarning\n";
    const EventBatch event = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"text"});
    const EventBatch large = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {std::wstring(80000, L'x')});
    EventBatch damaged = event;
    damaged[0] = std::byte{1};
    event_log = {{0, event}, {0, large}, {0, event + damaged}, {0, event}};
    const Outcome outcome =
        expect_changes({{"corvel_syslog.txt", fmt::format("{0}text\n{0}{1}\n{0}text\n{0}text\n", head, std::string(80000, 'x'))}}, "error read_logs_to_buff: skipped 1 damaged records of eventlog");
    EXPECT_THAT(outcome.calls, Contains(fmt::format("read {}", large.size())));
    const std::pair<Read, const char*> failures[] = {
        {{0, large, 4}, "error: resized eventlog read buffer but failed with: 0x7a - "}, {{ERROR_EVENTLOG_FILE_CORRUPT}, "error reading from eventlog: 0x5dc - "}};
    for (const auto& [read, reason] : failures) {
        event_log = {{0, event}, read};
        EXPECT_EQ(expect_changes({{"corvel_syslog.txt", head + "text\n"}}, reason).end, "status 1");
    }
}

TEST_F(SupportBundle, has_the_update_logs_unless_they_are_excluded_or_power_shell_does_not_run) {
    for (const Lines& arguments :
        {Lines{"foo", "create_support_bundle", "bar"}, {"create_support_bundle", "--exclude"}, {"create_support_bundle", "--exclude", "WU"}, {"create_support_bundle", "wu", "--exclude"}}) {
        expect_changes({}, "", nullptr, arguments);
    }
    const Facts without = {{"windows_cbs.log", ""}, {"windows_reportingevents.log", ""}, {"windows_update.log", ""}};
    for (const Lines& arguments : {Lines{"create_support_bundle", "--exclude", "wu"}, {"--exclude", "wu", "create_support_bundle"}}) {
        EXPECT_THAT(expect_changes(without, "", nullptr, arguments).calls.front(), Not(StartsWith("powershell")));
    }
    const std::string failed = "debug zip_generate_os_update_logs: failed to ";
    expect_changes(without, failed + "wait for powershell process end error:0x5 - Access denied.", failing(Fakes::WaitForSingleObject, WAIT_FAILED));
    EXPECT_EQ(expect_changes(without, failed + "start powershell process error:0x2 - File not found.", failing(Fakes::CreateProcessW, FALSE, ERROR_FILE_NOT_FOUND)).end, "status 0");
}

TEST_F(SupportBundle, says_what_failed) {
    const std::string path = R"(<folder>\corvel-support-bundle_<time>.zip)";
    const std::string error = creating + "ERROR while writing corvel support bundle\n";
    expect_messages(create_support_bundle, "status 1",
        {{"OpenEventLogW 1", error, "", "error zip_add_corvel_syslog: OpenEventLog failed with error: 0x5 - Access denied."},
            {"OpenServiceW 1", error, "", "error zip_add_service_status: error opening service manager on corvel service: 0x5 - Access denied."},
            {"SHGetKnownFolderPath 1", "", "FATAL ERROR: Could not resolve program data directory\n"},
            {"GetWindowsDirectoryW 1", "", "FATAL ERROR: Could not resolve Windows directory : 0x5 - Access denied.\n"}});
    const std::string denied = "Please try operation again using administrator-level permissions.\nERROR while writing corvel support bundle\n";
    expect_messages(create_support_bundle, "status 1", {{"CreateFileW 1", creating + denied, "", "critical write_zip: failed to open zip_writer on file at " + path + " with err \"MZ_OPEN_ERROR\""}});
    const std::string success = creating + "SUCCESS writing corvel support bundle\n";
    expect_messages(create_support_bundle, "status 0",
        {{"CoInitializeEx 1", success, "", "error WindowsIpcApartment: Failed to initialize COM (error code: 0x80010106)"},
            {"SHGetKnownFolderPath 2", success, "", R"(debug zip_add_file: file does not exist: c:\Windows\Logs\CBS\CBS.log)"}});
    expect_messages(create_support_bundle, "filesystem error: temp_directory_path: Access denied.", {{"GetTempPathW 1"}});
    expect_messages(create_support_bundle, R"(filesystem error: temp_directory_path: Access denied. [<folder>\])", {{"GetFileAttributesW 1"}});
    expect_messages(create_support_bundle, R"(filesystem error: exists: Access denied. [<folder>\Windows\Temp\corvel])", {{"GetFileAttributesW 2"}});
}
