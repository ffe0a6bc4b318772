#include "config/persistence.h"

#include "machine/machine.h"
#include "winconv/fatal_exception.h"

using namespace testing;

using ConfigLoad = Machine;

TEST_F(ConfigLoad, gives_the_machine_an_identity_once_if_asked_to_and_the_environment_has_none) {
    const auto in_the_way = agent / L"corvel.json._corvel_tmp";
    std::filesystem::create_directories(in_the_way);
    Config::current() = Config::Record();
    environment = {{L"HOST_ID", L"no UUID"}, {L"SELF_UPDATE", L"yes"}, {L"SELF_UPDATE_ADDR", {}}};
    Config::config_load(true);
    EXPECT_TRUE(Config::current().host_id.is_nil() && Config::current().self_update_addr.empty());
    EXPECT_THAT(RecordedLog::take(), IsSupersetOf({"debug config_load: Using environment variable for config: HOST_ID",
                                         "error config_load: Ignoring malformed configuration value for SELF_UPDATE: [json.exception.type_error.302] type must be boolean, but is string"}));
    environment = {{L"WEBAPP_ADDR", L"variable"}};
    EXPECT_THAT([] { Config::config_load(true); },
        Throws<WinConv::CorvelFatalException>(Property(&WinConv::CorvelFatalException::text, "FATAL ERROR: Couldn't write generated host id to config file: File exists")));
    std::filesystem::remove(in_the_way);
    Config::current() = Config::Record();
    Config::config_load(true);
    Config::Record written; // without what the environment holds
    written.log_level = Logger::parse_log_level_config("debug");
    written.host_id = Config::current().host_id;
    EXPECT_FALSE(written.host_id.is_nil());
    EXPECT_EQ(get_file(agent / L"corvel.json"), Config::serialise(written));
}
