#pragma once

#include "config/record.h"
#include "crypto_win32/trust.h"

namespace Commands {

/// Returns whether the profile accepts a release with this trust.
constexpr bool is_acceptable(Config::SelfUpdateProfile profile, const Crypto::VerificationTrust& trust) {
    switch (profile) {
    case Config::SelfUpdateProfile::Unsigned:
        return true;
    case Config::SelfUpdateProfile::Test:
        return trust.trusted_developer;
    case Config::SelfUpdateProfile::Production:
        break;
    }
    return trust.trusted_developer && trust.trusted_release && trust.trusted_by_system;
}

} // namespace Commands
