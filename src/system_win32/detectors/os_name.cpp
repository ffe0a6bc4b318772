#include "system_win32/detectors/os_name.h"

#include "logger/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace System {

namespace {

struct WindowsName {
    const char* name;
    std::uint32_t major;
    std::uint32_t minor;
    bool is_server;
    bool add_architecture;
    std::optional<std::uint32_t> min_build;
};

// Searched in this order: within a version, entries with a higher minimum build come first.
constexpr std::array<WindowsName, 13> windows_names = {{
    {"Windows Server 2025", 10, 0, true, false, 26100},
    {"Windows 11", 10, 0, false, true, 22000},
    {"Windows Server 2022", 10, 0, true, false, 20348},
    {"Windows Server 2019", 10, 0, true, false, 17763},
    {"Windows 10", 10, 0, false, true, {}},
    {"Windows Server 2016", 10, 0, true, false, 14393},
    {"Windows Server 2012 R2", 6, 3, true, false, {}},
    {"Windows 8.1", 6, 3, false, true, {}},
    {"Windows 8", 6, 2, false, true, {}},
    {"Windows Server 2012", 6, 2, true, false, {}},
    {"Windows 7", 6, 1, false, true, {}},
    {"Windows Server 2008 R2", 6, 1, true, true, {}},
    {"Windows Server 2008", 6, 0, true, true, {}},
}};

constexpr std::array<std::uint32_t, 13> server_core_products = {12, 13, 14, 29, 39, 40, 41, 43, 44, 45, 46, 145, 146};

const char* architecture_phrase(std::uint16_t machine) {
    switch (machine) {
    case 0x014C:
        return " for 32-bit Systems";
    case 0x01C0:
        return " for ARM-based Systems";
    case 0x0200:
        return " for Itanium-based Systems";
    case 0x8664:
        return " for x64-based Systems";
    case 0xAA64:
        return " for ARM64-based Systems";
    default:
        return nullptr;
    }
}

bool is_server_core(const OsFacts& facts) {
    return std::ranges::find(server_core_products, facts.product_type) != server_core_products.end() ||
           facts.nano_server != 0 || (facts.server_core != 0 && facts.server_gui_shell == 0);
}

} // namespace

OsName name_operating_system(const OsFacts& facts) {
    const auto entry = std::ranges::find_if(windows_names, [&](const WindowsName& candidate) {
        return candidate.major == facts.major && candidate.minor == facts.minor &&
               candidate.is_server == facts.is_server && facts.build >= candidate.min_build.value_or(0);
    });
    if (entry == windows_names.end()) {
        return {.name = "Windows Unknown", .known_version = false};
    }
    OsName result{.name = entry->name};
    if (!facts.is_server && !facts.version.empty()) {
        result.name += fmt::format(" Version {}", facts.version);
    }
    if (entry->add_architecture) {
        const char* const phrase = architecture_phrase(facts.machine);
        result.known_architecture = phrase != nullptr;
        result.name += result.known_architecture ? phrase : "";
    }
    if (!facts.service_pack.empty()) {
        result.name += fmt::format(" {}", facts.service_pack);
    }
    if (facts.is_server && is_server_core(facts)) {
        result.name += " (Server Core Installation)";
    }
    return result;
}

std::string detect_os_name() {
    const OsFacts facts = query_os_facts();
    OsName result = name_operating_system(facts);
    if (!result.known_version) {
        LOG_WARNING(Logger::main, "Failed to detect version of windows major={} minor={} build={} is_server={}",
                    facts.major, facts.minor, facts.build, facts.is_server);
    }
    if (!result.known_architecture) {
        LOG_WARNING(Logger::main, "Unknown architecture name");
    }
    return std::move(result.name);
}

} // namespace System
