#include "config/record.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using Config::Uuid;

TEST(Uuid, is_read_in_either_case_without_decoration_and_written_in_lower_case) {
    const std::string text = "6f9619ff-8b86-d011-b42d-00c04fc964ff";
    EXPECT_EQ(Uuid::parse("6F9619FF-8B86-D011-B42D-00C04FC964FF").text(), text);
    for (const std::string& bad : {std::string(), "{" + text + "}", " " + text, text + " ", text + "0", text.substr(1),
                                   std::string("6f9619ff8b86d011b42d00c04fc964ff")}) {
        EXPECT_TRUE(Uuid::parse(bad).is_nil()) << bad;
    }
}

TEST(Record, keeps_what_is_not_read) {
    Config::Record record;
    const std::string defaults = Config::serialise(record);
    Config::from_json(nlohmann::json::parse(R"({"other": 1, "tenant_id": "no UUID"})"), record);
    Config::from_json(nlohmann::json::array(), record);
    EXPECT_EQ(Config::serialise(record), defaults);
    record.self_update_profile = static_cast<Config::SelfUpdateProfile>(3);
    EXPECT_THAT(Config::serialise(record), testing::HasSubstr(R"("self_update_profile":"unsigned")"));
}
