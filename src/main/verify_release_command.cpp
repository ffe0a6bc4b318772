#include "main/commands.h"

#include "config/record.h"
#include "console/console.h"
#include "crypto_win32/trust.h"
#include "files/content.h"
#include "main/configuration.h"
#include "main/verdict.h"
#include "winconv/convert.h"

#include <exception>
#include <filesystem>

namespace Commands {

namespace {

const char* yes_or_no(bool value) {
    return value ? "yes" : "no";
}

} // namespace

int verify_release(const std::string& metadata_file, const std::string& signature_file) {
    const std::filesystem::path metadata_path = WinConv::utf8_to_native(metadata_file);
    const std::filesystem::path signature_path = WinConv::utf8_to_native(signature_file);
    if (!load_configuration()) {
        return exit_failure;
    }
    Crypto::init();
    Crypto::VerificationTrust trust;
    try {
        const std::string metadata = Files::read(metadata_path);
        const std::string signature = Files::read(signature_path);
        trust = Crypto::verify(metadata, signature);
    } catch (const std::exception& error) {
        // Unlike all other messages, this one does not end with a line feed.
        Console::print_error("Failed to read inputs: {}", error.what());
        return exit_failure;
    }
    const Config::SelfUpdateProfile profile = Config::current().self_update_profile;
    const bool acceptable = is_acceptable(profile, trust);
    Console::print("Verification result: {}\n"
                   " - Verification profile: {}\n"
                   " - Trusted developer: {}\n"
                   " - Trusted release: {}\n"
                   " - Trusted by system: {}\n",
                   acceptable ? "success" : "failed", Config::profile_name(profile), yes_or_no(trust.trusted_developer),
                   yes_or_no(trust.trusted_release), yes_or_no(trust.trusted_by_system));
    return acceptable ? exit_success : exit_failure;
}

} // namespace Commands
