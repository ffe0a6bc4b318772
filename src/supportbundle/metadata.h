#pragma once

#include "system_win32/system_info.h"
#include "zip/zip.h"

#include <cstdint>
#include <string>
#include <vector>

namespace SupportBundle {

/// The contents of the metadata document. The initial values are used for whatever cannot be determined. Strings are
/// UTF-8, except for the contents of the configuration file, which are arbitrary bytes.
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

/// Returns the document as compact JSON with keys in ascending order. Throws nlohmann::json::type_error if a string is
/// not valid UTF-8.
std::string metadata_document(const Metadata& metadata);

/// Collects the facts about the configuration file and the machine and adds the document as a member of the archive.
/// Whatever cannot be determined keeps its initial value. Returns false, after logging the reason, if the document
/// cannot be created or written.
bool zip_add_agent_metadata(Zip::Writer& writer, const Zip::Member& member);

} // namespace SupportBundle
