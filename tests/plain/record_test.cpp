#include "config/record.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

TEST(Record, keeps_what_is_not_read) {
    Config::Record record;
    const std::string defaults = Config::serialise(record);
    Config::from_json(
        nlohmann::json::parse(
            R"({"other": 1, "tenant_id": "no UUID", "host_id": "6f9619ff-8b86-d011-b42d-00c04fc964ff\u0000x"})"),
        record);
    Config::from_json(nlohmann::json::array(), record);
    EXPECT_EQ(Config::serialise(record), defaults);
    record.self_update_profile = static_cast<Config::SelfUpdateProfile>(3);
    EXPECT_NE(Config::serialise(record).find(R"("self_update_profile":"unsigned")"), std::string::npos);
}
