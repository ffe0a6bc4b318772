// create_support_bundle on a faked machine: what the bundle tells of it, and what fails.

#include "machine/failures.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace {

using testing::Contains;
using testing::HasSubstr;

class SupportBundle : public FailingMachine {
protected:
    // Expects the bundle of this machine to differ from that of a healthy one in these facts and in nothing else; one
    // without a value is missing. Then restores the machine.
    Outcome expect_changes(const Facts& changes, const Change& change = nullptr, const Lines& arguments = create_support_bundle) {
        Outcome outcome = run(arguments, change);
        Facts expected = healthy_facts;
        for (const auto& [name, value] : changes) {
            expected.erase(name);
            if (!value.empty()) {
                expected[name] = value;
            }
        }
        EXPECT_EQ(difference(expected, outcome.facts), "");
        restore();
        return outcome;
    }
    const Facts healthy_facts = run(create_support_bundle).facts;

    void SetUp() override {
        restore();
    }
};

TEST_F(SupportBundle, of_a_healthy_machine_holds_everything) {
    put_file(windows / L"Temp" / L"corvel" / L"x.LOG", "not collected");
    std::filesystem::create_directory(agent / L"folder.log");
    const Outcome outcome = run(create_support_bundle);
    EXPECT_EQ(outcome.end + outcome.err, "status 0");
    EXPECT_EQ(outcome.out, "creating corvel support bundle at: <folder>\\corvel-support-bundle_<time>.zip\n"
                           "SUCCESS writing corvel support bundle\n");
    EXPECT_EQ(outcome.calls.front(), "powershell.exe Get-WindowsUpdateLog -LogPath \"<folder>\\WindowsUpdate.log\"");
    EXPECT_EQ(outcome.calls.back(), "open corvel-tracker for 0x4");
    EXPECT_THAT(outcome.calls, testing::IsSupersetOf({"end COM", "read 128000", "open manager for 0x4"}));
    EXPECT_THAT(FakedWmi::asked,
                testing::ElementsAre("SELECT OperatingSystemSKU FROM Win32_OperatingSystem",
                                     "SELECT Name, LicenseFamily FROM SoftwareLicensingProduct WHERE LicenseIsAddOn=FALSE AND "
                                     "PartialProductKey<>NULL AND ApplicationID='55c92734-d682-4d71-983e-d6ec3f16059f'",
                                     "SELECT Name, LicenseFamily, ApplicationId, LicenseStatus FROM SoftwareLicensingProduct"));
    const std::string event = outcome.facts.at("corvel_syslog.txt");
    EXPECT_EQ(event.substr(0, event.find("text")), "2025-01-31 14:05:09.0000000\n7\nWarning\n");
    EXPECT_EQ(difference({{"archive", "complete"},
                          {"agent.log", get_file(agent / L"agent.log")},
                          {"setup.log", "setup"},
                          {"corvel.json", R"({"log_level":"debug"})"},
                          {"corvel_svcstatus.txt", "SERVICE_RUNNING"},
                          {"corvel_syslog.txt", event},
                          {"configuration", R"({"log_level":"debug"})"},
                          {"folder of the configuration", "agent.log corvel.json folder.log "},
                          {"fact agent_package_type", R"("MSI")"},
                          {"fact arch", R"({"build":"x86_64","native":"x64"})"},
                          {"fact cfgfile_contents", R"("{\"log_level\":\"debug\"}")"},
                          {"fact cfgfile_exists", "true"},
                          {"fact cfgfile_filepath", ""},
                          {"fact cfgfile_json_malformed", "false"},
                          {"fact cfgfile_path_findable", "true"},
                          {"fact cfgfile_readable", "true"},
                          {"fact entitlements", R"([{"appid":"id","family":"Professional","status":"LICENSED",)"
                                                R"("type":"license","value":"Windows"}])"},
                          {"fact hostname", R"("grün-and-more-than-fifteen")"},
                          {"fact ip_addresses", R"("10.0.0.1")"},
                          {"fact logstyle", "0"},
                          {"fact os_class", "4"},
                          {"fact os_licenses", R"(["Professional","product_type=48"])"},
                          {"fact os_name", R"("Windows 11 Version 23H2 for x64-based Systems")"},
                          {"fact system_uptime_since", "29"}},
                         outcome.facts),
              "");
}

TEST_F(SupportBundle, names_windows_and_the_processor) {
    constexpr auto name = "fact os_name";
    constexpr auto arch = "fact arch";
    version = {0, 10, 0, 22000, 0, L"", 0, 0, 0, VER_NT_SERVER};
    product = 175; // a desktop all the same
    expect_changes({});
    version = {0, 10, 0, 20348, 0, L"", 0, 0, 0, VER_NT_SERVER};
    product = 12;
    expect_changes({{name, "\"Windows Server 2022 (Server Core Installation)\""}});
    version = {0, 10, 0, 17763, 0, L"", 0, 0, 0, VER_NT_DOMAIN_CONTROLLER};
    registry = {{L"ServerCore", 1UL}, {L"Server-Gui-Shell", 0UL}, {L"DisplayVersion", 5UL}};
    expect_changes({{name, "\"Windows Server 2019 (Server Core Installation)\""}});
    version = {0, 10, 0, 10240, 0, L"", 0, 0, 0, VER_NT_SERVER};
    EXPECT_THAT(expect_changes({{name, R"("Windows Unknown")"}}).log,
                Contains("warning detect_os_name: Failed to detect version of windows major=10 minor=0 build=10240 "
                         "is_server=true"));
    native_machine = IMAGE_FILE_MACHINE_UNKNOWN;
    const std::tuple<WORD, const char*, const char*> processors[] = {
        {WORD{0}, "x86", " for 32-bit Systems"},   {WORD{5}, "arm", " for ARM-based Systems"},
        {WORD{6}, "ia64", " for Itanium-based Systems"}, {WORD{9}, "x64", " for x64-based Systems"},
        {WORD{12}, "arm64", " for ARM64-based Systems"}, {WORD{77}, "x86_64", ""}};
    for (const auto& [number, native, phrase] : processors) {
        native_machine = 0;
        processor = number;
        expect_changes({{name, fmt::format(R"("Windows 11 Version 23H2{}")", phrase)},
                        {arch, fmt::format(R"({{"build":"x86_64","native":"{}"}})", native)}});
    }
    native_machine = 0xAA64; // emulated
    expect_changes({{name, R"("Windows 11 Version 23H2 for ARM64-based Systems")"},
                    {arch, R"({"build":"x86_64","native":"arm64"})"}});
}

TEST_F(SupportBundle, tells_what_wmi_knows) {
    for (const auto& [sku, number, reason] : std::initializer_list<std::tuple<FakedWmi::Value, const char*, const char*>>{
             {L"175", "175", "debug"},
             {L"x", "0", "error detect_windows_product_type: invalid stoul argument"},
             {L"99999999999", "0", "error detect_windows_product_type: stoul argument out of range"},
             {{}, "0", "error get_wmi_property: OperatingSystemSKU type is not VT_BSTR or VT_I4"}}) {
        FakedWmi::rows[0][L"OperatingSystemSKU"] = sku;
        const Facts changes = {{"fact os_licenses", fmt::format(R"(["Professional","product_type={}"])", number)}};
        EXPECT_THAT(expect_changes(changes).log, Contains(testing::StartsWith(reason)));
    }
    FakedWmi::rows.clear();
    EXPECT_THAT(expect_changes({{"fact os_licenses", R"(["Unknown","product_type=0"])"}, {"fact entitlements", "[]"}}).log,
                testing::Each(testing::Not(testing::StartsWith("error"))));

    const std::tuple<const wchar_t*, FakedWmi::Value, FakedWmi::Value, bool> licences[] = {
        {L"a", L"F", 0L, true},  {L"b", L"F", 0L, false}, {L"c", L"F", L"1", true}, {L"d", {}, 1L, true},
        {L"e", {}, 1L, false},   {L"f", L"G", 6L, true},  {L"g", L"G", 7L, true},   {L"h", L"G", {}, false},
        {L"i", L"H", L"x", false}, {L"j", L"I", 1L, false}}; // the list ends at the one that is damaged
    auto expected = nlohmann::json::array();
    FakedWmi::rows.clear();
    for (const auto& [value, family, status, listed] : licences) {
        FakedWmi::rows.push_back({{L"OperatingSystemSKU", 48L}, {L"Name", value}, {L"LicenseFamily", family},
                                  {L"ApplicationID", L"id"}, {L"LicenseStatus", status}});
        if (listed) {
            expected.push_back({{"type", "license"}, {"appid", "id"}, {"value", std::filesystem::path(value).string()}});
            if (const auto* const text = std::get_if<std::wstring>(&family)) {
                expected.back()["family"] = std::filesystem::path(*text).string();
            }
        }
    }
    const char* const names[] = {"UNLICENSED", "LICENSED", "LICENSED", "EXTENDED_GRACE"};
    for (std::size_t each = 0; each < std::size(names); ++each) {
        expected[each]["status"] = names[each];
    }
    EXPECT_THAT(expect_changes({{"fact os_licenses", R"(["F","product_type=48"])"}, {"fact entitlements", expected.dump()}}).log,
                Contains("error get_windows_licenses: invalid stol argument"));

    const auto in_use = [] { return Fakes::Replacement(Fakes::CoInitializeEx, [](auto...) { return S_FALSE; }).end; };
    EXPECT_THAT(expect_changes({}, in_use).calls, testing::Not(Contains("end COM")));
}

TEST_F(SupportBundle, tells_the_address_of_the_default_route_if_a_host_resolves) {
    const Facts unknown = {{"fact ip_addresses", R"("Unknown ip")"}};
    unresolvable = L"app.corvel.example";
    EXPECT_THAT(expect_changes({}).log, Contains("error detect_ip_address: Failed to resolve web api url"));
    unresolvable = L"app.corvel.example 1.1.1.1";
    EXPECT_THAT(expect_changes(unknown).log, Contains("error detect_ip_address: Failed to fallback on well known host"));
    for (const DWORD rows : {2UL, 0UL}) {
        adapters = rows;
        interface_index = 9;
        EXPECT_THAT(expect_changes(unknown).log,
                    Contains("error get_best_interface_ip4: Failed to find interface 9 in ip table for 3137404930"));
    }
}

TEST_F(SupportBundle, keeps_what_detection_found_before_it_ended) {
    const auto no_sockets = [] { return Fakes::Replacement(Fakes::WSAStartup, [](auto...) { return WSASYSNOTREADY; }).end; };
    EXPECT_THAT(expect_changes({{"fact hostname", R"("unknown")"},
                                {"fact ip_addresses", R"("Unknown ip")"},
                                {"fact system_uptime_since", "9"},
                                {"fact arch", R"({"build":"x86_64","native":"unknown"})"}},
                               no_sockets)
                    .log,
                Contains(HasSubstr("error zip_add_agent_metadata: FATAL ERROR: Failed to startup winsock: 0x")));
}

TEST_F(SupportBundle, reads_the_event_log_whatever_the_size_of_a_record) {
    const std::string text = "2025-01-31 14:05:09.0000000\n7\nWarning\ntext\n";
    const EventBatch event = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {L"text"});
    const EventBatch large = event_record(L"corvel", 7, EVENTLOG_WARNING_TYPE, {std::wstring(80000, L'x')});
    event_log = {{0, event}, {0, large}, {0, event + event}};
    EXPECT_THAT(expect_changes({{"corvel_syslog.txt", text + "2025-01-31 14:05:09.0000000\n7\nWarning\n" +
                                                          std::string(80000, 'x') + "\n" + text + text}})
                    .calls,
                testing::IsSupersetOf(Lines{"read 128000", fmt::format("read {}", large.size())}));

    EventBatch damaged = event;
    damaged[0] = std::byte{1};
    event_log = {{0, event + damaged}, {0, event}};
    EXPECT_THAT(expect_changes({{"corvel_syslog.txt", text + text}}).log,
                Contains("error read_logs_to_buff: skipped 1 damaged records of eventlog"));

    event_log = {{0, event}, {0, large, 4}};
    Outcome outcome = expect_changes({{"corvel_syslog.txt", text}});
    EXPECT_EQ(outcome.end, "status 1");
    EXPECT_THAT(outcome.log, Contains(HasSubstr("error: resized eventlog read buffer but failed with: 0x7a - ")));

    event_log = {{0, event}, {ERROR_EVENTLOG_FILE_CORRUPT}};
    outcome = expect_changes({{"corvel_syslog.txt", text}});
    EXPECT_EQ(outcome.end, "status 1");
    EXPECT_THAT(outcome.log, Contains(HasSubstr("error reading from eventlog: 0x5dc - ")));
}

TEST_F(SupportBundle, has_the_update_logs_unless_they_are_excluded_or_power_shell_does_not_run) {
    const Facts logs = {{"windows_cbs.log", "1"}, {"windows_reportingevents.log", "2"}, {"windows_update.log", "3"}};
    const auto write_logs = [this] {
        std::filesystem::create_directories(windows / L"Logs" / L"CBS");
        std::filesystem::create_directories(windows / L"SoftwareDistribution");
        put_file(windows / L"Logs" / L"CBS" / L"CBS.log", "1");
        put_file(windows / L"SoftwareDistribution" / L"ReportingEvents.log", "2");
        put_file(folder.path() / L"WindowsUpdate.log", "3");
    };
    const std::pair<Lines, bool> command_lines[] = {{{"create_support_bundle"}, true},
                                                    {{"foo", "create_support_bundle", "bar"}, true},
                                                    {{"create_support_bundle", "--exclude"}, true},
                                                    {{"create_support_bundle", "--exclude", "WU"}, true},
                                                    {{"create_support_bundle", "wu", "--exclude"}, true},
                                                    {{"create_support_bundle", "--exclude", "wu"}, false},
                                                    {{"--exclude", "wu", "create_support_bundle"}, false}};
    for (const auto& [arguments, included] : command_lines) {
        write_logs();
        const Outcome outcome = expect_changes(included ? logs : Facts(), nullptr, arguments);
        EXPECT_EQ(outcome.calls.front().starts_with("powershell"), included);
    }

    write_logs();
    const auto cannot_wait = [this] {
        const auto wait = [this](HANDLE object, DWORD milliseconds) {
            SetLastError(ERROR_ACCESS_DENIED);
            return object == process ? WAIT_FAILED : (*Fakes::WaitForSingleObject.original)(object, milliseconds);
        };
        return Fakes::Replacement(Fakes::WaitForSingleObject, wait).end;
    };
    EXPECT_THAT(expect_changes({}, cannot_wait).log,
                Contains("debug zip_generate_os_update_logs: failed to wait for powershell process end error:0x5 - Access "
                         "denied."));
    write_logs();
    const auto cannot_start = [] {
        const auto start = [](auto...) {
            SetLastError(ERROR_FILE_NOT_FOUND);
            return FALSE;
        };
        return Fakes::Replacement(Fakes::CreateProcessW, start).end;
    };
    const Outcome outcome = expect_changes({}, cannot_start);
    EXPECT_EQ(outcome.end, "status 0");
    EXPECT_THAT(outcome.log, Contains("debug zip_generate_os_update_logs: failed to start powershell process error:0x2 - File "
                                      "not found."));
}

TEST_F(SupportBundle, shares_a_log_that_its_writer_has_open_and_leaves_out_one_that_nobody_shares) {
    for (const DWORD sharing : {FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, 0}) {
        const auto open = [&] {
            return std::shared_ptr<void>((*Fakes::CreateFileW.original)((agent / L"agent.log").c_str(),
                                                                        GENERIC_WRITE | DELETE, sharing, nullptr,
                                                                        OPEN_EXISTING, 0, nullptr),
                                         *Fakes::CloseHandle.original);
        };
        const Outcome outcome = expect_changes(sharing != 0 ? Facts() : Facts{{"agent.log", ""}}, open);
        EXPECT_EQ(outcome.end, sharing != 0 ? "status 0" : "status 1");
    }
}

TEST_F(SupportBundle, takes_the_files_under_the_default_folder_if_windows_names_none) {
    const auto no_windows_folder = [] {
        const auto named = Fakes::SHGetKnownFolderPath;
        return Fakes::Replacement(Fakes::SHGetKnownFolderPath, [named](const GUID& id, auto... rest) {
                   return id == FOLDERID_Windows ? E_FAIL : named.replacement(id, rest...);
               })
            .end;
    };
    EXPECT_THAT(expect_changes({}, no_windows_folder).log,
                testing::IsSupersetOf({"debug zip_add_file: file does not exist: c:\\Windows\\Logs\\CBS\\CBS.log",
                                       "debug zip_add_file: file does not exist: "
                                       "c:\\Windows\\SoftwareDistribution\\ReportingEvents.log"}));
}

TEST_F(SupportBundle, says_what_failed) {
    const std::string path = "<folder>\\corvel-support-bundle_<time>.zip";
    const std::string creating = "creating corvel support bundle at: " + path + "\n";
    const std::string error = "ERROR while writing corvel support bundle\n";
    const auto& command = create_support_bundle;
    expect_messages({
        {"CreateFileW", 1, command,
         creating + "Please try operation again using administrator-level permissions.\n" + error, "",
         "critical write_zip: failed to open zip_writer on file at " + path + " with err \"MZ_OPEN_ERROR\"", "status 1"},
        {"WriteFile", 11, command, creating + error, "",
         "error write_zip: failed to close zip_writer on file at " + path + " with err \"MZ_WRITE_ERROR\"", "status 1"},
        {"OpenEventLogW", 1, command, creating + error, "",
         "error zip_add_corvel_syslog: OpenEventLog failed with error: 0x5 - Access denied.", "status 1"},
        {"OpenServiceW", 1, command, creating + error, "",
         "error zip_add_service_status: error opening service manager on corvel service: 0x5 - Access denied.", "status 1"},
        {"SHGetKnownFolderPath", 1, command, "", "FATAL ERROR: Could not resolve program data directory\n", "", "status 1"},
        {"GetWindowsDirectoryW", 1, command, "", "FATAL ERROR: Could not resolve Windows directory : 0x5 - Access denied.\n"},
        {"GetTempPathW", 1, command, "", "", "", "filesystem error: temp_directory_path: Access denied."},
        {"GetFileAttributesW", 1, command, "", "", "", "filesystem error: temp_directory_path: Access denied. [<folder>\\]"},
        {"GetFileAttributesW", 2, command, "", "", "",
         "filesystem error: exists: Access denied. [<folder>\\Windows\\Temp\\corvel]"},
        {"CoInitializeEx", 1, command, creating + "SUCCESS writing corvel support bundle\n", "",
         "error WindowsIpcApartment: Failed to initialize COM (error code: 0x80010106)", "status 0"},
    });
}

} // namespace
