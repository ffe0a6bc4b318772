#include "config/record.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using Config::Record;
using Config::SelfUpdateProfile;
using Config::Uuid;

namespace {

constexpr auto defaults =
    R"({"host_id":"00000000-0000-0000-0000-000000000000","log_level":"info","self_update":true,)"
    R"("self_update_addr":"https://download.corvel.example/release.json","self_update_profile":"production",)"
    R"("skip_power_check":false,"tenant_id":"00000000-0000-0000-0000-000000000000",)"
    R"("webapp_addr":"https://app.corvel.example"})";

TEST(Uuid, is_read_in_either_case_without_decoration_and_written_in_lower_case) {
    const std::string text = "6f9619ff-8b86-d011-b42d-00c04fc964ff";
    EXPECT_EQ(Uuid::parse("6F9619FF-8B86-D011-B42D-00C04FC964FF").text(), text);
    for (const std::string& bad : {std::string(), "{" + text + "}", " " + text, text + " ", text + "0", text.substr(1),
                                   std::string("6f9619ff8b86d011b42d00c04fc964ff")}) {
        EXPECT_TRUE(Uuid::parse(bad).is_nil()) << bad;
    }
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
    EXPECT_THAT(Config::serialise(record), testing::HasSubstr(R"("self_update_profile":"unsigned")"));
}

} // namespace
