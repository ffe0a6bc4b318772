#include "supportbundle/metadata.h"

#include <gmock/gmock.h>

TEST(MetadataDocument, has_every_key_in_order_and_only_what_a_licence_has) {
    SupportBundle::Metadata metadata;
    metadata.os_licenses = {"Professional", "product_type=48"};
    metadata.hostname = "grün";
    metadata.entitlements = {{}, {"license", "n", {}, "f", "a", 7}, {.status = 9}};
    EXPECT_EQ(SupportBundle::metadata_document(metadata),
              R"({"agent_package_type":"unknown","arch":{"build":"x86_64","native":"unknown"},)"
              R"("cfgfile_contents":"unknown","cfgfile_exists":false,"cfgfile_filepath":"unknown",)"
              R"("cfgfile_json_malformed":true,"cfgfile_path_findable":false,"cfgfile_readable":false,)"
              R"("entitlements":[{"type":"license"},{"appid":"a","family":"f","status":"UNKNOWN","type":"license",)"
              R"("value":"n"},{"status":"UNLICENSED","type":"license"}],"hostname":"grün","ip_addresses":"unknown",)"
              R"("logstyle":0,"os_class":2,"os_licenses":["Professional","product_type=48"],"os_name":"unknown",)"
              R"("system_uptime_since":"unknown"})");
}
