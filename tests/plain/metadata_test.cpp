#include "supportbundle/metadata.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

TEST(MetadataDocument, is_compact_has_every_key_in_order_and_only_what_a_licence_has) {
    SupportBundle::Metadata metadata;
    metadata.os_licenses = {"Professional", "product_type=48"};
    metadata.hostname = "grün";
    metadata.entitlements = {{}, {"license", "n", {}, "f", "a", 7}};
    std::string entitlements = R"({"type":"license"},{"appid":"a","family":"f","status":"UNKNOWN","type":"license","value":"n"})";
    for (const char* const name : {"UNLICENSED", "UNLICENSED", "LICENSED", "OOB_GRACE", "OOT_GRACE", "NON_GENUINE_GRACE", "NOTIFICATION", "EXTENDED_GRACE", "UNKNOWN", "UNLICENSED"}) {
        metadata.entitlements.push_back({.status = static_cast<std::int32_t>(metadata.entitlements.size()) - 3});
        entitlements += fmt::format(R"(,{{"status":"{}","type":"license"}})", name);
    }
    const std::string expected = R"({"agent_package_type":"unknown","arch":{"build":"x86_64","native":"unknown"},"cfgfile_contents":"unknown","cfgfile_exists":false,)"
                                 R"("cfgfile_filepath":"unknown","cfgfile_json_malformed":true,"cfgfile_path_findable":false,"cfgfile_readable":false,"entitlements":[)" +
                                 entitlements +
                                 R"(],"hostname":"grün","ip_addresses":"unknown","logstyle":0,"os_class":2,"os_licenses":["Professional","product_type=48"],)"
                                 R"("os_name":"unknown","system_uptime_since":"unknown"})";
    EXPECT_EQ(SupportBundle::metadata_document(metadata), expected);
}
