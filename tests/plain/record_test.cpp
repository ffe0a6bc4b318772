#include "config/record.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

using namespace testing;

TEST(Record, is_read_as_it_was_written_and_keeps_what_the_text_does_not_hold) {
    const std::string all = R"({"host_id":"6f9619ff-8b86-d011-b42d-00c04fc964ff","log_level":"debug,dll=none",)"
                            R"("self_update":false,"self_update_addr":"a","self_update_profile":"test",)"
                            R"("skip_power_check":true,"tenant_id":"6f9619ff-8b86-d011-b42d-00c04fc964fe",)"
                            R"("webapp_addr":"€"})";
    Config::Record record;
    Config::read_json(all, record);
    EXPECT_EQ(Config::serialise(record), all);
    for (const char* const other : {"{}", "[]", "5", "null", R"({"other": {"self_update": true}, "Webapp_addr": 1})"}) {
        Config::read_json(other, record);
        EXPECT_EQ(Config::serialise(record), all) << other;
    }
    EXPECT_THAT(Config::keys(), ElementsAre("webapp_addr", "tenant_id", "host_id", "log_level", "self_update_addr", "self_update_profile", "self_update", "skip_power_check"));
}

TEST(Record, is_not_read_from_a_text_that_is_malformed_or_has_a_value_of_another_type) {
    const std::string deep(1000000, '[');
    const std::pair<std::string, const char*> cases[] = {{"", "parse error"}, {"{} x", "parse error at line 1, column 4"}, {"{\"webapp_addr\": \"\xFF\"}", "ill-formed UTF-8 byte"},
        {std::string("{}\0", 3), "NUL byte in JSON text"}, {deep, "parse error at line 1, column 1000001"}, {R"({"webapp_addr": null})", "type must be string, but is null"},
        {R"({"webapp_addr": )" + deep + std::string(deep.size(), ']') + "}", "type must be string, but is array"}, {R"({"host_id": 5})", "type must be string, but is number"},
        {R"({"self_update_profile": "Production"})", "value must be one of unsigned, test, production"}};
    for (const auto& [text, reason] : cases) {
        Config::Record record;
        EXPECT_THAT(([&record, &given = text] { Config::read_json(given, record); }), ThrowsMessage<std::exception>(HasSubstr(reason))) << text.substr(0, 50);
        EXPECT_EQ(Config::is_json(text), std::string_view(reason).find("must be") != std::string_view::npos) << text.substr(0, 50);
    }
}

TEST(Uuid, is_only_what_has_the_text_form_in_either_case) {
    const std::string text = "6f9619ff-8b86-d011-b42d-00c04fc964ff";
    EXPECT_EQ(Config::Uuid::parse("6F9619FF-8B86-D011-B42D-00C04FC964FF").text(), text);
    for (const std::string& other : {std::string(), "{" + text + "}", " " + text, text + " ", text + "0", "€" + text, text + '\0', text.substr(1), std::string("6f9619ff8b86d011b42d00c04fc964ff")}) {
        EXPECT_TRUE(Config::Uuid::parse(other).is_nil()) << other;
    }
}
