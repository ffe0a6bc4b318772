#pragma once

#include <span>
#include <string>

/// The commands of corvelctl: parse the arguments, call the unit that does the work, print the outcome. Each returns
/// the exit status.
namespace Commands {

inline constexpr int exit_success = 0;
inline constexpr int exit_failure = 1;

/// `set <key> <value> ...`: stores the pairs in the configuration file and restarts the agent service.
int set(std::span<const std::string> pairs);

/// `create_support_bundle [--exclude wu]`, anywhere among the arguments: writes the support bundle. Throws
/// CorvelFatalException, and std::filesystem::filesystem_error if a folder cannot be scanned.
int create_support_bundle(std::span<const std::string> arguments);

/// `verify_release <metadata-file> <signature-file>`: prints who trusts the signature and whether the configured
/// profile accepts that. Throws CorvelFatalException if the trust anchors cannot be set up.
int verify_release(const std::string& metadata_file, const std::string& signature_file);

} // namespace Commands
