#pragma once

#include "config/record.h"

#include <filesystem>
#include <system_error>

namespace Config {

/// Fills current() from the configuration file, if there is one, and then from the environment; environment values that
/// are refused are logged and ignored. With `generate_host_id`, a machine without an identity (none in the file,
/// HOST_ID not set) gets a random one, which is written to the file at once. Throws CorvelFatalException if the file's
/// path cannot be determined or if the file cannot be read, is malformed or cannot be written.
void config_load(bool generate_host_id);

/// Replaces the configuration file at `path` with the record. Returns the errors of Files::write_atomically().
[[nodiscard]] std::error_code config_write(const std::filesystem::path& path, const Record& record);

} // namespace Config
