#include "system_win32/internal/licenses.h"

#include "fakes/wmi.h"
#include "support/recorded_log.h"
#include "system_win32/internal/product_type.h"

#include <gmock/gmock.h>

using FakedWmi::Row;
using FakedWmi::Value;
using testing::ElementsAre;

namespace {

class Wmi : public testing::Test {
protected:
    Fakes::Replacements replaced;

    void SetUp() override {
        FakedWmi::install(replaced);
    }
    void TearDown() override {
        EXPECT_EQ(FakedWmi::references, 0);
        FakedWmi::rows.clear();
    }
};

TEST_F(Wmi, first_row_tells_edition_and_product_type) {
    EXPECT_EQ(System::get_windows_license_edition(), "Unknown");
    FakedWmi::rows = {{{L"LicenseFamily", L"Professional"}}, {{L"LicenseFamily", L"Other"}}};
    EXPECT_EQ(System::get_windows_license_edition(), "Professional");
    EXPECT_THAT(FakedWmi::asked, testing::HasSubstr(L"ApplicationID='55c92734-d682-4d71-983e-d6ec3f16059f'"));
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
    for (const auto& [value, type] : {std::pair<Value, std::uint32_t>(48L, 48),
                                      {L"175", 175},
                                      {L"x", 0},
                                      {L"99999999999", 0},
                                      {std::monostate(), 0}}) {
        FakedWmi::rows = {{{L"OperatingSystemSKU", value}}};
        EXPECT_EQ(System::detect_windows_product_type(), type);
    }
    EXPECT_THAT(RecordedLog::take(),
                ElementsAre("error detect_windows_product_type: invalid stoul argument",
                            "error detect_windows_product_type: stoul argument out of range",
                            "error get_wmi_property: OperatingSystemSKU type is not VT_BSTR or VT_I4",
                            "error detect_windows_product_type: invalid stoul argument"));
}

TEST_F(Wmi, licences_are_listed_once_for_each_family_and_status) {
    const auto product = [](const wchar_t* name, Value family, Value status) {
        return Row{{L"Name", name}, {L"LicenseFamily", family}, {L"ApplicationID", L"id"}, {L"LicenseStatus", status}};
    };
    FakedWmi::rows = {
        product(L"a", L"F", 0L), product(L"b", L"F", 0L), product(L"c", L"F", L"1"), product(L"d", {}, 1L),
        product(L"e", {}, 1L),   product(L"f", L"G", 7L), product(L"g", L"G", {}),   product(L"h", L"H", L"no number"),
        product(L"i", L"I", 1L)};
    std::vector<std::string> listed;
    for (const auto& license : System::get_windows_licenses()) {
        listed.push_back(*license.value + license.family.value_or("-") +
                         (license.status ? std::to_string(*license.status) : "-"));
    }
    EXPECT_THAT(listed, ElementsAre("aF0", "cF1", "d-1", "fG-"));
    EXPECT_THAT(RecordedLog::take(), testing::Contains("error get_windows_licenses: invalid stol argument"));
}

} // namespace
