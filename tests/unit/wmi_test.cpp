#include "fakes/imports.h"
#include "support/recorded_log.h"
#include "supportbundle/metadata.h"
#include "system_win32/com.h"
#include "system_win32/licenses.h"
#include "system_win32/wmi.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <array>
#include <deque>
#include <map>
#include <optional>
#include <variant>

using testing::ElementsAre;

namespace {

using Value = std::variant<std::monostate, std::wstring, LONG>;
using Row = std::map<std::wstring, Value>;

HRESULT not_expected() {
    ADD_FAILURE() << "unexpected COM call";
    return E_NOTIMPL;
}

// WMI as far as the tool uses it: COM objects are made of nothing but the slots of their tables that it calls.
struct FakeWmi {
    static inline std::deque<Row> rows;
    static inline HRESULT locator = S_OK, connection = S_OK, blanket = S_OK, query = S_OK, row = S_OK;
    static inline std::wstring asked;
    static inline int references = 0;
    static inline bool first = true;

    template <std::size_t slot, auto function>
    static void* object() {
        static std::array<void*, 32> table = [] {
            std::array<void*, 32> slots{};
            slots.fill(reinterpret_cast<void*>(not_expected));
            slots[2] = reinterpret_cast<void*>(+[](void*) -> ULONG { return static_cast<ULONG>(--references); });
            slots[slot] = reinterpret_cast<void*>(function);
            return slots;
        }();
        static void* instance = table.data();
        ++references;
        return &instance;
    }
    static HRESULT get(void*, LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) {
        const auto found = rows.front().find(name);
        if (found == rows.front().end()) {
            return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
        }
        if (const auto* text = std::get_if<std::wstring>(&found->second)) {
            value->vt = VT_BSTR;
            value->bstrVal = SysAllocString(text->c_str());
        } else if (const auto* number = std::get_if<LONG>(&found->second)) {
            value->vt = VT_I4;
            value->lVal = *number;
        } else {
            value->vt = VT_NULL;
        }
        return S_OK;
    }
    static HRESULT next(void*, LONG timeout, ULONG, IWbemClassObject** result, ULONG* count) {
        EXPECT_EQ(timeout, -1);
        if (!std::exchange(first, false)) {
            rows.pop_front();
        }
        *count = rows.empty() ? 0 : 1;
        *result = rows.empty() ? nullptr : static_cast<IWbemClassObject*>(object<4, get>());
        return FAILED(row) ? row : rows.empty() ? S_FALSE : S_OK;
    }
    static HRESULT exec_query(void*, BSTR language, BSTR text, LONG flags, IWbemContext*,
                              IEnumWbemClassObject** result) {
        EXPECT_TRUE(std::wstring_view(language) == L"WQL" && flags == 48);
        asked = text;
        first = true;
        *result = SUCCEEDED(query) ? static_cast<IEnumWbemClassObject*>(object<4, next>()) : nullptr;
        return query;
    }
    static HRESULT connect(void*, BSTR space, BSTR, BSTR, BSTR, LONG, BSTR, IWbemContext*, IWbemServices** result) {
        EXPECT_STREQ(space, L"ROOT\\CIMV2");
        *result = SUCCEEDED(connection) ? static_cast<IWbemServices*>(object<20, exec_query>()) : nullptr;
        return connection;
    }
};

class Wmi : public testing::Test {
protected:
    Fakes::Replacement<decltype(CoCreateInstance)> create_{
        Fakes::CoCreateInstance, [](REFCLSID, LPUNKNOWN, DWORD context, REFIID, LPVOID* result) {
            EXPECT_EQ(context, 0x17U);
            *result = SUCCEEDED(FakeWmi::locator) ? FakeWmi::object<3, FakeWmi::connect>() : nullptr;
            return FakeWmi::locator;
        }};
    Fakes::Replacement<decltype(CoSetProxyBlanket)> blanket_{
        Fakes::CoSetProxyBlanket, [](auto, DWORD a, DWORD b, auto, DWORD c, DWORD d, auto, DWORD e) {
            EXPECT_TRUE(a == 10 && b == 0 && c == 3 && d == 3 && e == 0);
            return FakeWmi::blanket;
        }};

    void TearDown() override {
        EXPECT_EQ(FakeWmi::references, 0);
    }
};

TEST_F(Wmi, step_that_fails_is_named_with_its_error_and_the_value_stays_at_its_default) {
    const std::pair<HRESULT*, const char*> steps[] = {
        {&FakeWmi::locator, "Failed to create WBEM locator"},
        {&FakeWmi::connection, "Failed to connect to WBEM"},
        {&FakeWmi::blanket, "Failed to set proxy blanket on WBEM services"},
        {&FakeWmi::query, "Failed to determine windows license edition through WBEM"},
        {&FakeWmi::row, "Licensed product enumeration failed"},
    };
    for (const auto& [step, text] : steps) {
        *step = E_ACCESSDENIED;
        EXPECT_EQ(System::get_windows_license_edition(), "Unknown");
        EXPECT_THAT(RecordedLog::take(),
                    ElementsAre("error get_windows_license_edition: " + std::string(text) + ": Access denied."));
        EXPECT_EQ(System::detect_windows_product_type(), 0U);
        *step = S_OK;
        RecordedLog::take();
    }
}

TEST_F(Wmi, first_row_tells_edition_and_product_type) {
    FakeWmi::rows = {{{L"LicenseFamily", L"Professional"}}};
    EXPECT_EQ(System::get_windows_license_edition(), "Professional");
    EXPECT_THAT(FakeWmi::asked, testing::HasSubstr(L"ApplicationID='55c92734-d682-4d71-983e-d6ec3f16059f'"));
    FakeWmi::rows.clear();
    EXPECT_EQ(System::get_windows_license_edition(), "Unknown");
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
    for (const auto& [value, type] : {std::pair<Value, std::uint32_t>(48L, 48),
                                      {L"175", 175},
                                      {L"x", 0},
                                      {L"99999999999", 0},
                                      {std::monostate(), 0}}) {
        FakeWmi::rows = {{{L"OperatingSystemSKU", value}}};
        EXPECT_EQ(System::detect_windows_product_type(), type);
        FakeWmi::rows.clear();
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
    FakeWmi::rows = {
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
    FakeWmi::rows.clear();
}

TEST(Apartment, that_cannot_be_initialised_is_logged) {
    const Fakes::Replacement refuse(Fakes::CoInitializeEx, [](auto...) { return RPC_E_CHANGED_MODE; });
    { const System::WindowsIpcApartment apartment; }
    EXPECT_THAT(RecordedLog::take(), ElementsAre("error WindowsIpcApartment: Failed to initialize COM (error code: "
                                                 "0x80010106)"));
}

TEST(Apartment, leaves_com_initialised_where_it_was) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    { const System::WindowsIpcApartment apartment; }
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
}

TEST(MetadataDocument, has_every_key_in_order_and_only_what_a_licence_has) {
    SupportBundle::Metadata metadata;
    metadata.os_licenses = {"Professional", "product_type=48"};
    metadata.hostname = "grün";
    metadata.entitlements.resize(3);
    metadata.entitlements[1] = {"license", "n", {}, "f", "a", 7};
    metadata.entitlements[2].status = 9;
    EXPECT_EQ(SupportBundle::metadata_document(metadata),
              R"({"agent_package_type":"unknown","arch":{"build":"x86_64","native":"unknown"},)"
              R"("cfgfile_contents":"unknown","cfgfile_exists":false,"cfgfile_filepath":"unknown",)"
              R"("cfgfile_json_malformed":true,"cfgfile_path_findable":false,"cfgfile_readable":false,)"
              R"("entitlements":[{"type":"license"},{"appid":"a","family":"f","status":"UNKNOWN","type":"license",)"
              R"("value":"n"},{"status":"UNLICENSED","type":"license"}],"hostname":"grün","ip_addresses":"unknown",)"
              R"("logstyle":0,"os_class":2,"os_licenses":["Professional","product_type=48"],"os_name":"unknown",)"
              R"("system_uptime_since":"unknown"})");
    metadata.cfgfile_contents = "\xFF";
    EXPECT_THROW(SupportBundle::metadata_document(metadata), nlohmann::json::type_error);
}

} // namespace
