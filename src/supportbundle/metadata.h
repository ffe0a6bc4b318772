#pragma once

#include "system_win32/system_info.h"
#include "zip/zip.h"

#include <cstdint>
#include <string>
#include <vector>

namespace SupportBundle {

/// What the metadata document says, with the values that stand where nothing could be found out. Texts are UTF-8, but
/// for the configuration file's contents, which are whatever the file holds.
struct Metadata {
    bool cfgfile_path_findable = false;
    std::string cfgfile_filepath = "unknown";
    std::string cfgfile_contents = "unknown";
    bool cfgfile_exists = false;
    bool cfgfile_readable = false;
    bool cfgfile_json_malformed = true;
    std::int32_t logstyle = 0;
    std::string agent_package_type = "unknown";
    std::string hostname = "unknown";
    std::string ip_addresses = "unknown";
    std::string os_name = "unknown";
    std::int32_t os_class = 2;
    std::string system_uptime_since = "unknown";
    std::string arch_build = "x86_64";
    std::string arch_native = "unknown";
    std::vector<std::string> os_licenses;
    std::vector<System::WindowsLicense> entitlements;
};

/// Returns the document as compact JSON with ascending keys. Throws nlohmann::json::type_error if a text is not UTF-8.
std::string metadata_document(const Metadata& metadata);

/// Finds out about the configuration file and the machine and adds the document as a member of the archive. Returns
/// false, after logging why, if it cannot be written. What cannot be found out has its default.
bool zip_add_agent_metadata(Zip::Writer& writer, const Zip::Member& member);

} // namespace SupportBundle
