#pragma once

#include <span>
#include <string>

/// The commands of corvelctl. Each parses its arguments (UTF-8), calls the unit that does the work, prints the outcome
/// and returns the exit status.
namespace Commands {

inline constexpr int exit_success = 0;
inline constexpr int exit_failure = 1;

/// `set <key> <value> ...`: stores the pairs in the configuration file and restarts the agent service.
int set(std::span<const std::string> pairs);

/// `create_support_bundle [--exclude wu]`, in any order among the arguments: creates the support bundle. Throws what
/// SupportBundle::create_support_bundle() throws.
int create_support_bundle(std::span<const std::string> arguments);

/// `verify_release <metadata-file> <signature-file>`: prints who trusts the signature and whether the configured
/// profile accepts it. Throws CorvelFatalException if the trust anchors cannot be set up.
int verify_release(const std::string& metadata_file, const std::string& signature_file);

} // namespace Commands
