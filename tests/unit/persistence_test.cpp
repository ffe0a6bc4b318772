#include "config/persistence.h"

#include "fakes/imports.h"
#include "support/environment.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "winconv/fatal_exception.h"

#include <gmock/gmock.h>

TEST(ConfigLoad, gives_the_machine_an_identity_once_if_asked_to_and_the_environment_has_none) {
    const TemporaryFolder folder;
    const auto file = folder.path() / L"corvel" / L"corvel.json";
    const Fakes::Replacement program_data(Fakes::SHGetKnownFolderPath, [&](auto&&, auto, auto, PWSTR* path) {
        return SHStrDupW(folder.path().c_str(), path);
    });
    const auto in_the_way = folder.path() / L"corvel" / L"corvel.json._corvel_tmp";
    std::filesystem::create_directories(in_the_way);
    {
        const EnvironmentVariable host_id(L"HOST_ID", L"no UUID");
        Config::config_load(true);
    }
    const EnvironmentVariable no_host_id(L"HOST_ID", nullptr);
    EXPECT_THAT([] { Config::config_load(true); },
                testing::Throws<WinConv::CorvelFatalException>(
                    testing::Property(&WinConv::CorvelFatalException::text,
                                      "FATAL ERROR: Couldn't write generated host id to config file: File exists")));
    std::filesystem::remove(in_the_way);
    Config::current() = Config::Record();
    put_file(file, R"({"webapp_addr": "a"})");
    Config::config_load(true);
    const std::string host_id = Config::current().host_id.text();
    EXPECT_THAT(RecordedLog::take(), testing::Contains("debug config_load: Generated host_id " + host_id));
    EXPECT_EQ(get_file(file), Config::serialise(Config::current()));
    Config::config_load(true);
    EXPECT_EQ(Config::current().host_id.text(), host_id);
}
