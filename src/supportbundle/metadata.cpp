#include "supportbundle/metadata.h"

#include "config/record.h"
#include "files/content.h"
#include "files/file_system.h"
#include "files/paths.h"
#include "logger/log.h"
#include "system_win32/com.h"
#include "winconv/convert.h"
#include "winconv/fatal_exception.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <exception>
#include <optional>

namespace SupportBundle {

namespace {

constexpr std::int32_t windows_class = 4;

constexpr std::array license_status_names = {
    "UNLICENSED",        "LICENSED",     "OOB_GRACE",      "OOT_GRACE",
    "NON_GENUINE_GRACE", "NOTIFICATION", "EXTENDED_GRACE", "UNKNOWN",
};

const char* license_status_name(std::int32_t status) {
    const auto code = static_cast<std::size_t>(status);
    return code < license_status_names.size() ? license_status_names[code] : license_status_names.front();
}

nlohmann::json entitlement(const System::WindowsLicense& license) {
    nlohmann::json json = {{"type", license.type}};
    const auto set_if_present = [&](const char* key, const std::optional<std::string>& text) {
        if (text) {
            json[key] = *text;
        }
    };
    set_if_present("value", license.value);
    set_if_present("name", license.name);
    set_if_present("family", license.family);
    set_if_present("appid", license.appid);
    if (license.status) {
        json["status"] = license_status_name(*license.status);
    }
    return json;
}

// Fills in the facts about the machine. If detection ends early, returns the reason; what was detected before is used.
std::optional<std::string> describe_machine(Metadata& metadata) {
    const System::WindowsIpcApartment apartment;
    std::optional<std::string> failure;
    try {
        // The configuration has not been loaded here, so this is the default address.
        System::detect(Config::current().webapp_addr);
    } catch (const WinConv::CorvelFatalException& fatal) {
        failure = fatal.text();
    }
    const System::SystemInfo& info = System::system_info();
    metadata.agent_package_type = "MSI";
    metadata.hostname = info.hostname;
    metadata.ip_addresses = info.ip_address;
    metadata.os_name = info.os_name;
    metadata.os_class = windows_class;
    metadata.system_uptime_since = info.up_since;
    metadata.arch_native = info.architecture;
    metadata.os_licenses = {info.license_edition, info.product_type_text};
    metadata.entitlements = info.licenses;
    return failure;
}

// Fills in the facts about the configuration file. If a step fails, returns the reason; the results of the steps before
// it are kept.
std::optional<std::string> describe_configuration_file(Metadata& metadata) {
    try {
        const auto path = Files::get_config_file_path();
        metadata.cfgfile_path_findable = true;
        metadata.cfgfile_filepath = WinConv::native_to_utf8(path.native());
        metadata.cfgfile_exists = Files::path_exists(path);
        if (metadata.cfgfile_exists) {
            metadata.cfgfile_contents = Files::read(path);
            metadata.cfgfile_readable = true;
            metadata.cfgfile_json_malformed = !Config::is_json(metadata.cfgfile_contents);
        }
    } catch (const WinConv::CorvelFatalException& fatal) {
        return fatal.text();
    } catch (const std::exception& error) {
        return error.what();
    }
    return std::nullopt;
}

} // namespace

std::string metadata_document(const Metadata& metadata) {
    nlohmann::json entitlements = nlohmann::json::array();
    for (const auto& license : metadata.entitlements) {
        entitlements.push_back(entitlement(license));
    }
    const nlohmann::json document = {
        {"cfgfile_path_findable", metadata.cfgfile_path_findable},
        {"cfgfile_filepath", metadata.cfgfile_filepath},
        {"cfgfile_contents", metadata.cfgfile_contents},
        {"cfgfile_exists", metadata.cfgfile_exists},
        {"cfgfile_readable", metadata.cfgfile_readable},
        {"cfgfile_json_malformed", metadata.cfgfile_json_malformed},
        {"logstyle", metadata.logstyle},
        {"agent_package_type", metadata.agent_package_type},
        {"hostname", metadata.hostname},
        {"ip_addresses", metadata.ip_addresses},
        {"os_name", metadata.os_name},
        {"os_class", metadata.os_class},
        {"system_uptime_since", metadata.system_uptime_since},
        {"arch", {{"build", metadata.arch_build}, {"native", metadata.arch_native}}},
        {"os_licenses", metadata.os_licenses},
        {"entitlements", std::move(entitlements)},
    };
    return document.dump();
}

bool zip_add_agent_metadata(Zip::Writer& writer, const Zip::Member& member) {
    Metadata metadata;
    if (const auto failure = describe_machine(metadata)) {
        LOG_ERROR(Logger::main, "{}", *failure);
    }
    if (const auto failure = describe_configuration_file(metadata)) {
        LOG_DEBUG(Logger::main, "{}", *failure);
    }
    std::string text;
    try {
        text = metadata_document(metadata);
    } catch (const nlohmann::json::exception& error) {
        LOG_ERROR(Logger::main, "error serialising agent metadata: {}", error.what());
        return false;
    }
    return Zip::zip_add_text(writer, member, text, "agent metadata");
}

} // namespace SupportBundle
