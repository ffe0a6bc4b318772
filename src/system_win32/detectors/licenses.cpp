#include "system_win32/detectors/licenses.h"

#include "logger/log.h"
#include "system_win32/detectors/number.h"
#include "system_win32/internal/wmi.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

namespace System {

namespace {

constexpr std::int32_t last_documented_status = 6;

constexpr auto undocumented_status = "7";

constexpr auto license_query_failure = "Failed to determine windows license edition through WBEM";
constexpr auto license_row_failure = "Licensed product enumeration failed";

std::optional<std::string> optional_property(IWbemClassObject& row, const wchar_t* name) {
    std::string text = get_wmi_property(row, name, "");
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

WindowsLicense license_of(IWbemClassObject& row) {
    WindowsLicense license;
    license.value = optional_property(row, L"Name");
    license.family = optional_property(row, L"LicenseFamily");
    license.appid = optional_property(row, L"ApplicationID");
    const std::int32_t status = to_signed(get_wmi_property(row, L"LicenseStatus", undocumented_status));
    if (status <= last_documented_status) {
        license.status = status;
    }
    return license;
}

// Adds the product unless the list already contains one with the same family and status.
void add_license(WindowsLicense license, std::vector<WindowsLicense>& licenses) {
    const bool seen = std::ranges::any_of(licenses, [&](const WindowsLicense& other) {
        return other.family == license.family && other.status == license.status;
    });
    if (!seen) {
        licenses.push_back(std::move(license));
    }
}

} // namespace

std::string get_windows_license_edition() {
    std::string edition = "Unknown";
    try {
        WmiRows rows(L"SELECT Name, LicenseFamily FROM SoftwareLicensingProduct WHERE LicenseIsAddOn=FALSE AND "
                     L"PartialProductKey<>NULL AND ApplicationID='55c92734-d682-4d71-983e-d6ec3f16059f'",
                     license_query_failure, license_row_failure);
        if (const auto row = rows.next()) {
            edition = get_wmi_property(*row, L"LicenseFamily", edition);
        }
    } catch (const std::exception& error) {
        LOG_ERROR(Logger::main, "{}", error.what());
    }
    return edition;
}

std::vector<WindowsLicense> get_windows_licenses() {
    std::vector<WindowsLicense> licenses;
    try {
        WmiRows rows(L"SELECT Name, LicenseFamily, ApplicationId, LicenseStatus FROM SoftwareLicensingProduct",
                     license_query_failure, license_row_failure);
        while (const auto row = rows.next()) {
            add_license(license_of(*row), licenses);
        }
    } catch (const std::exception& error) {
        LOG_ERROR(Logger::main, "{}", error.what());
    }
    return licenses;
}

} // namespace System
