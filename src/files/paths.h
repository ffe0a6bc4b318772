#pragma once

#include <filesystem>

namespace Files {

/// Returns the configuration file's path: "corvel\corvel.json" in the machine-wide program-data folder.
/// Throws CorvelFatalException if the system does not name that folder.
std::filesystem::path get_config_file_path();

/// Returns the Windows folder as the system knows it, "c:\\Windows" if it does not say.
std::filesystem::path get_windows_directory();

/// Returns the agent's scratch folder: "Temp\corvel" in the Windows directory, whatever TEMP says. With `create`, makes
/// sure that something stands there, its parent being left alone. Throws CorvelFatalException if the system does not
/// name the Windows directory, std::filesystem::filesystem_error for the operation "exists" or "create_directory".
std::filesystem::path get_temp_directory(bool create);

/// Returns the folder for temporary files of the process, which TMP and TEMP name. Throws
/// std::filesystem::filesystem_error for the operation "temp_directory_path" with the path, if it is no folder.
std::filesystem::path get_user_temp_directory();

} // namespace Files
