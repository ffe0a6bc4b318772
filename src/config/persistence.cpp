#include "config/persistence.h"

#include "config/internal/environment.h"
#include "files/content.h"
#include "files/file_system.h"
#include "files/paths.h"
#include "logger/log.h"
#include "winconv/convert.h"
#include "winconv/fatal_exception.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace Config {

namespace {

void config_read_persistent() {
    const auto path = Files::get_config_file_path();
    try {
        if (!Files::path_exists(path)) {
            return;
        }
        LOG_DEBUG(Logger::main, "Reading config from {}", WinConv::native_to_utf8(path.native()));
        read_json(Files::read(path), current());
    } catch (const nlohmann::json::exception& error) {
        throw WinConv::CorvelFatalException(fmt::format("Config file is malformed: {}", error.what()));
    } catch (const std::exception& error) {
        throw WinConv::CorvelFatalException(fmt::format("Failed to read config file: {}", error.what()));
    }
}

} // namespace

std::error_code config_write(const std::filesystem::path& path, const Record& record) {
    constexpr int writable_by_owner = 0644;
    return Files::write_atomically(path, serialise(record), writable_by_owner);
}

void config_load(bool generate_host_id) {
    config_read_persistent();
    Record& record = current();
    if (generate_host_id && record.host_id.is_nil() && !read_environment("HOST_ID")) {
        record.host_id = Uuid::generate();
        LOG_DEBUG(Logger::main, "Generated host_id {}", record.host_id.text());
        if (const auto error = config_write(Files::get_config_file_path(), record)) {
            throw WinConv::CorvelFatalException(
                fmt::format("Couldn't write generated host id to config file: {}", error.message()));
        }
    }
    for (const Override& applied : apply_environment(record)) {
        if (applied.error) {
            LOG_ERROR(Logger::main, "Ignoring malformed configuration value for {}: {}", applied.variable,
                      *applied.error);
        } else {
            LOG_DEBUG(Logger::main, "Using environment variable for config: {}", applied.variable);
        }
    }
    LOG_DEBUG(Logger::main, "Loaded configuration: {}", serialise(record));
}

} // namespace Config
