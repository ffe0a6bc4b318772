#include "supportbundle/metadata.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

TEST(MetadataDocument, is_compact_has_every_key_in_order_and_only_what_a_licence_has) {
    SupportBundle::Metadata metadata;
    metadata.os_licenses = {"Professional", "product_type=48"};
    metadata.hostname = "grün";
    metadata.entitlements = {{}, {"license", "n", {}, "f", "a", 7}};
    const char* const expected = R"({"agent_package_type":"unknown","arch":{"build":"x86_64","native":"unknown"},)"
                                 R"("cfgfile_contents":"unknown","cfgfile_exists":false,"cfgfile_filepath":"unknown",)"
                                 R"("cfgfile_json_malformed":true,"cfgfile_path_findable":false,"cfgfile_readable":false,)"
                                 R"("entitlements":[{"type":"license"},{"appid":"a","family":"f","status":"UNKNOWN","type":"license",)"
                                 R"("value":"n"}],"hostname":"grün","ip_addresses":"unknown","logstyle":0,"os_class":2,)"
                                 R"("os_licenses":["Professional","product_type=48"],"os_name":"unknown","system_uptime_since":"unknown"})";
    EXPECT_EQ(SupportBundle::metadata_document(metadata), expected);
}

TEST(MetadataDocument, names_every_state_of_a_licence) {
    std::string names;
    for (std::int32_t status = -1; status <= 9; ++status) {
        SupportBundle::Metadata metadata;
        metadata.entitlements = {{.status = status}};
        const auto document = nlohmann::json::parse(SupportBundle::metadata_document(metadata));
        names += document["entitlements"][0]["status"].get<std::string>() + " ";
    }
    EXPECT_EQ(names, "UNLICENSED UNLICENSED LICENSED OOB_GRACE OOT_GRACE NON_GENUINE_GRACE NOTIFICATION EXTENDED_GRACE "
                     "UNKNOWN UNLICENSED UNLICENSED ");
}
