#include "config/persistence.h"

#include "fakes/imports.h"
#include "support/environment.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "winconv/fatal_exception.h"

#include <gmock/gmock.h>

using Config::Record;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

class ConfigLoad : public testing::Test {
protected:
    TemporaryFolder folder;
    std::filesystem::path file = folder.path() / L"corvel" / L"corvel.json";
    EnvironmentVariable no_host_id{L"HOST_ID", nullptr};
    Fakes::Replacements replaced;

    void SetUp() override {
        replaced.add(Fakes::SHGetKnownFolderPath, [this](auto&&, auto, auto, PWSTR* path) {
            *path = task_string(folder.path().native());
            return S_OK;
        });
        std::filesystem::create_directory(file.parent_path());
    }
    void TearDown() override {
        Config::current() = Record();
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

TEST_F(ConfigLoad, takes_the_file_and_then_the_environment_and_logs_what_it_uses_and_ignores) {
    put_file(file, R"({"webapp_addr": "file", "tenant_id": "6f9619ff-8b86-d011-b42d-00c04fc964ff",)"
                   R"( "self_update_profile": "test", "skip_power_check": true})");
    const std::wstring long_text(30000, L'x');
    const EnvironmentVariable variables[] = {{L"WEBAPP_ADDR", L""},
                                             {L"TENANT_ID", L"no UUID"},
                                             {L"SELF_UPDATE_ADDR", long_text.c_str()},
                                             {L"SELF_UPDATE_PROFILE", L"unsigned"},
                                             {L"SELF_UPDATE", L"yes"}};
    EXPECT_EQ(fatal_text(false), "");
    const Record& record = Config::current();
    EXPECT_EQ(record.webapp_addr, "");
    EXPECT_TRUE(record.tenant_id.is_nil());
    EXPECT_EQ(record.self_update_addr, std::string(30000, 'x'));
    EXPECT_EQ(record.self_update_profile, Config::SelfUpdateProfile::Test);
    EXPECT_TRUE(record.self_update && record.skip_power_check);
    const std::string used = "debug config_load: Using environment variable for config: ";
    const std::string ignored = "error config_load: Ignoring malformed configuration value for ";
    EXPECT_THAT(
        RecordedLog::take(),
        ElementsAre("debug config_read_persistent: Reading config from " + file.string(), used + "WEBAPP_ADDR",
                    used + "TENANT_ID", used + "SELF_UPDATE_ADDR",
                    StartsWith(ignored + "SELF_UPDATE_PROFILE: [json.exception.parse_error.101] "),
                    ignored + "SELF_UPDATE: [json.exception.type_error.302] type must be boolean, but is string",
                    "debug config_load: Loaded configuration: " + Config::serialise(record)));
}

TEST_F(ConfigLoad, without_a_file_has_the_defaults_and_writes_nothing) {
    EXPECT_EQ(fatal_text(false), "");
    EXPECT_EQ(Config::serialise(Config::current()), Config::serialise(Record()));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(ConfigLoad, of_a_file_that_is_no_good_is_fatal_and_leaves_it_alone) {
    const std::string deep(1000000, '[');
    for (const std::string& content :
         {std::string(), std::string("{} x"), std::string("// c\n{}"), std::string(R"({"webapp_addr": "\xFF"})"),
          std::string("{\"webapp_addr\": \"\xFF\"}"), std::string("{}\0", 3), std::string(R"({"self_update": 1})"),
          deep, R"({"webapp_addr": )" + deep + std::string(deep.size(), ']') + "}"}) {
        put_file(file, content);
        EXPECT_THAT(fatal_text(false), StartsWith("FATAL ERROR: Config file is malformed: [json.exception."));
        EXPECT_EQ(get_file(file), content);
    }
}

TEST_F(ConfigLoad, gives_the_machine_an_identity_once_if_asked_to_and_the_environment_has_none) {
    {
        const EnvironmentVariable host_id(L"HOST_ID", L"no UUID");
        EXPECT_EQ(fatal_text(true), "");
        EXPECT_FALSE(std::filesystem::exists(file));
    }
    {
        const auto move = failing(Fakes::MoveFileExW, FALSE);
        EXPECT_EQ(fatal_text(true), "FATAL ERROR: Couldn't write generated host id to config file: Access denied.");
        Config::current() = Record();
    }
    RecordedLog::take();
    put_file(file, R"({"webapp_addr": "a"})");
    EXPECT_EQ(fatal_text(true), "");
    const std::string host_id = Config::current().host_id.text();
    EXPECT_THAT(RecordedLog::take(), Contains("debug config_load: Generated host_id " + host_id));
    EXPECT_EQ(get_file(file), Config::serialise(Config::current()));
    EXPECT_EQ(fatal_text(true), "");
    EXPECT_EQ(Config::current().host_id.text(), host_id);
}

} // namespace
