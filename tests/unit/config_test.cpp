#include "config/environment.h"
#include "config/load.h"
#include "config/record.h"
#include "fakes/imports.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "winconv/fatal_exception.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using Config::Record;
using Config::SelfUpdateProfile;
using Config::Uuid;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

constexpr auto id = "6f9619ff-8b86-d011-b42d-00c04fc964ff";

constexpr auto defaults =
    R"({"host_id":"00000000-0000-0000-0000-000000000000","log_level":"info","self_update":true,)"
    R"("self_update_addr":"https://download.corvel.example/release.json","self_update_profile":"production",)"
    R"("skip_power_check":false,"tenant_id":"00000000-0000-0000-0000-000000000000",)"
    R"("webapp_addr":"https://app.corvel.example"})";

TEST(Uuid, is_read_in_either_case_and_written_in_lower_case) {
    EXPECT_EQ(Uuid::parse("6F9619FF-8B86-D011-B42D-00C04FC964FF").text(), id);
    const std::string text = id;
    for (const std::string& bad : {std::string(), "{" + text + "}", " " + text, text + " ", text + "0", text.substr(1),
                                   std::string("6f9619ff8b86d011b42d00c04fc964ff")}) {
        EXPECT_TRUE(Uuid::parse(bad).is_nil()) << bad;
    }
    const Fakes::Replacement no_memory(Fakes::UuidToStringW, [](auto...) { return RPC_S_OUT_OF_MEMORY; });
    EXPECT_THROW(Uuid().text(), std::bad_alloc);
}

TEST(Record, has_its_defaults_for_every_key_that_is_not_read) {
    Record record;
    EXPECT_EQ(Config::serialise(record), defaults);
    Config::from_json(nlohmann::json::parse(R"({"other": 1, "tenant_id": "no UUID", "log_level": "debug,dll=error"})"),
                      record);
    EXPECT_EQ(Config::serialise(record),
              std::string(defaults).replace(std::string(defaults).find("info"), 4, "debug,dll=error"));
    Config::from_json(nlohmann::json::array(), record);
    record.self_update_profile = static_cast<SelfUpdateProfile>(3);
    EXPECT_THAT(Config::serialise(record), HasSubstr(R"("self_update_profile":"unsigned")"));
}

TEST(Environment, overrides_fields_and_logs_what_it_ignores) {
    SetEnvironmentVariableW(L"WEBAPP_ADDR", L"https://\u20ac.example");
    SetEnvironmentVariableW(L"TENANT_ID", L"no UUID");
    SetEnvironmentVariableW(L"SELF_UPDATE", L"yes");
    SetEnvironmentVariableW(L"SELF_UPDATE_PROFILE", L"test");
    SetEnvironmentVariableW(L"SKIP_POWER_CHECK", L"true");
    SetEnvironmentVariableW(L"SELF_UPDATE_ADDR", std::wstring(30000, L'x').c_str());
    Record record;
    record.tenant_id = Uuid::parse(id);
    Config::apply_environment(record);
    EXPECT_EQ(record.webapp_addr, "https://\u20ac.example");
    EXPECT_TRUE(record.tenant_id.is_nil());
    EXPECT_TRUE(record.self_update);
    EXPECT_EQ(record.self_update_profile, SelfUpdateProfile::Production);
    EXPECT_TRUE(record.skip_power_check);
    EXPECT_EQ(record.self_update_addr, std::string(30000, 'x'));
    EXPECT_THAT(RecordedLog::take(),
                ElementsAre("debug apply_variable: Using environment variable for config: WEBAPP_ADDR",
                            "debug apply_variable: Using environment variable for config: TENANT_ID",
                            "debug apply_variable: Using environment variable for config: SELF_UPDATE_ADDR",
                            StartsWith("error apply_variable: Ignoring malformed configuration value for "
                                       "SELF_UPDATE_PROFILE: [json.exception.parse_error.101] "),
                            StartsWith("error apply_variable: Ignoring malformed configuration value for SELF_UPDATE: "
                                       "[json.exception.type_error.302] type must be boolean, but is string"),
                            "debug apply_variable: Using environment variable for config: SKIP_POWER_CHECK"));
}

class ConfigLoad : public testing::Test {
protected:
    TemporaryFolder folder;
    Fakes::Replacement<decltype(SHGetKnownFolderPath)> program_data{Fakes::SHGetKnownFolderPath,
                                                                    known_folder(folder.path())};
    std::filesystem::path file = folder.path() / L"corvel" / L"corvel.json";

    void SetUp() override {
        std::filesystem::create_directory(file.parent_path());
        Config::current() = Record();
        SetEnvironmentVariableW(L"HOST_ID", nullptr);
    }
    static std::string fatal_text(bool generate_host_id) {
        try {
            Config::config_load(generate_host_id);
            return "";
        } catch (const WinConv::CorvelFatalException& fatal) {
            return fatal.text();
        }
    }
};

TEST_F(ConfigLoad, without_a_file_has_the_defaults_and_writes_nothing) {
    EXPECT_EQ(fatal_text(false), "");
    EXPECT_EQ(Config::serialise(Config::current()), defaults);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_THAT(RecordedLog::take(), ElementsAre("debug config_load: Loaded configuration: " + std::string(defaults)));
}

TEST_F(ConfigLoad, of_a_file_that_is_no_good_is_fatal_and_leaves_it_alone) {
    const std::string malformed = "FATAL ERROR: Config file is malformed: [json.exception.";
    const std::string deep(1000000, '[');
    for (const std::string& content :
         {std::string(), std::string("{} x"), std::string("// c\n{}"), std::string(R"({"webapp_addr": "\xFF"})"),
          std::string("{\"webapp_addr\": \"\xFF\"}"), std::string("{}\0", 3), std::string(R"({"self_update": 1})"),
          deep, R"({"webapp_addr": )" + deep + std::string(deep.size(), ']') + "}"}) {
        put_file(file, content);
        EXPECT_THAT(fatal_text(false), StartsWith(malformed)) << content.substr(0, 40);
        EXPECT_EQ(get_file(file), content);
    }
}

TEST_F(ConfigLoad, of_a_file_that_cannot_be_read_is_fatal) {
    std::filesystem::create_directory(file);
    EXPECT_EQ(fatal_text(false),
              "FATAL ERROR: Failed to read config file: read: " + file.string() + ": Permission denied");
    const Fakes::Replacement query(Fakes::GetFileAttributesW, [](auto) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_FILE_ATTRIBUTES;
    });
    EXPECT_THAT(fatal_text(false), MatchesRegex("FATAL ERROR: Failed to read config file: .*exists.*Access denied.*"));
}

TEST_F(ConfigLoad, gives_the_machine_an_identity_once_if_asked_to) {
    put_file(file, R"({"webapp_addr": "a"})");
    EXPECT_EQ(fatal_text(true), "");
    const std::string host_id = Config::current().host_id.text();
    EXPECT_FALSE(Config::current().host_id.is_nil());
    EXPECT_THAT(RecordedLog::take(), Contains("debug generate_host_id_if_missing: Generated host_id " + host_id));
    EXPECT_EQ(get_file(file), Config::serialise(Config::current()));
    EXPECT_EQ(fatal_text(true), "");
    EXPECT_EQ(Config::current().host_id.text(), host_id);
}

TEST_F(ConfigLoad, generates_no_identity_when_the_environment_has_one) {
    SetEnvironmentVariableW(L"HOST_ID", L"no UUID");
    EXPECT_EQ(fatal_text(true), "");
    EXPECT_TRUE(Config::current().host_id.is_nil());
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(ConfigLoad, that_cannot_write_the_identity_is_fatal) {
    const Fakes::Replacement move(Fakes::MoveFileExW, [](auto...) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    EXPECT_EQ(fatal_text(true), "FATAL ERROR: Couldn't write generated host id to config file: Access denied.");
}

} // namespace
