#pragma once

#include "config/record.h"

#include <filesystem>
#include <system_error>

namespace Config {

/// Fills the record of current() from the configuration file, if there is one, and then from the environment.
/// With `generate_host_id`, a machine without an identity (none in the file, no HOST_ID) gets a random one, which is
/// written to the file at once. Throws CorvelFatalException if the file cannot be read, is malformed, or cannot be
/// written.
void config_load(bool generate_host_id);

/// Replaces the configuration file at `path` by the record, with the errors of write_atomically().
[[nodiscard]] std::error_code config_write(const std::filesystem::path& path, const Record& record);

} // namespace Config
