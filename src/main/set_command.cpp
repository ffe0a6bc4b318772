#include "main/commands.h"

#include "config/persistence.h"
#include "config/record.h"
#include "console/console.h"
#include "files/file_system.h"
#include "files/paths.h"
#include "main/configuration.h"
#include "svcquery_win32/service.h"

#include <fmt/ranges.h>

#include <unordered_map>

namespace Commands {

namespace {

using Pairs = std::unordered_map<std::string, std::string>;

Pairs collect_pairs(std::span<const std::string> arguments) {
    Pairs pairs;
    for (; !arguments.empty(); arguments = arguments.subspan(2)) {
        pairs.insert_or_assign(arguments[0], arguments[1]);
    }
    return pairs;
}

// Stores the value. Prints the reason and returns false if it is refused.
bool apply_value(Config::Record& record, const std::string& key, const std::string& text) {
    if (const auto refusal = Config::set_value(record, key, text)) {
        Console::print_error("Error parsing value for {}: {}\n", key, *refusal);
        return false;
    }
    if (Config::holds_nil_uuid(record, key)) {
        Console::print_error("Error: {} must be a valid UUID and not nil\n", key);
        return false;
    }
    return true;
}

// Applies the pairs with known keys and removes them from `pairs`. Tries every value, so that one run reports all that
// are refused.
bool apply_pairs(Pairs& pairs, Config::Record& record) {
    bool all_values_good = true;
    for (const std::string& key : Config::keys()) {
        if (const auto pair = pairs.extract(key)) {
            all_values_good = apply_value(record, key, pair.mapped()) && all_values_good;
        }
    }
    return all_values_good;
}

bool write_configuration(const Config::Record& record) {
    const auto path = Files::get_config_file_path();
    if (const auto error = Files::create_directories(path.parent_path())) {
        Console::print_error("Could not create config directory: {}\n", error.message());
        return false;
    }
    if (const auto error = Config::config_write(path, record)) {
        Console::print_error("Could not write new config: {}\n", error.message());
        return false;
    }
    return true;
}

} // namespace

int set(std::span<const std::string> pairs) {
    if (pairs.size() % 2 != 0) {
        Console::print_error("The set command must have an even number of arguments\n");
        return exit_failure;
    }
    if (!load_configuration()) {
        return exit_failure;
    }
    Config::Record& record = Config::current();
    Pairs unapplied = collect_pairs(pairs);
    if (!apply_pairs(unapplied, record)) {
        return exit_failure;
    }
    if (!unapplied.empty()) {
        Console::print_error("Unknown key/value pairs: {}\n", unapplied);
        return exit_failure;
    }
    if (!write_configuration(record)) {
        return exit_failure;
    }
    if (record.tenant_id.is_nil()) {
        Console::print_error("Tenant ID must be configured to non-nil value to start agent.\n");
        return exit_failure;
    }
    if (const auto restarted = Service::restart_corvel_service(); !restarted.has_value()) {
        Console::print("{}\n", restarted.error().text);
        Console::print("Please restart the corvel-tracker service manually so that the changes can go into effect.\n");
    }
    return exit_success;
}

} // namespace Commands
