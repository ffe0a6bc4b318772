#pragma once

#include <filesystem>

namespace Files {

/// Returns the path of the configuration file: "corvel\corvel.json" in the ProgramData folder. Throws
/// CorvelFatalException if the system does not return that folder.
std::filesystem::path get_config_file_path();

/// Returns the path of the Windows folder, "c:\Windows" if the system does not return it.
std::filesystem::path get_windows_directory();

/// Returns the path of the agent's scratch folder: "Temp\corvel" in the Windows folder, regardless of TEMP. With
/// `create`, creates it if nothing exists at that path, but does not create its parent. Throws CorvelFatalException if
/// the system does not return the Windows folder, and std::filesystem::filesystem_error for the operations "exists" and
/// "create_directory".
std::filesystem::path get_temp_directory(bool create);

/// Returns the folder for temporary files of the process (TMP, TEMP). Throws std::filesystem::filesystem_error for the
/// operation "temp_directory_path" if the system does not return it or, with the path, if it is not a folder.
std::filesystem::path get_user_temp_directory();

} // namespace Files
