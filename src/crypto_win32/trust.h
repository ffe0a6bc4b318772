#pragma once

#include <string_view>

namespace Crypto {

/// Who trusts a signature: the authority for development builds, the authority for releases, any other root certificate
/// that the system trusts.
struct VerificationTrust {
    bool trusted_developer = false;
    bool trusted_release = false;
    bool trusted_by_system = false;
};

/// Sets up the trust anchors: the two built-in authorities, the system's root certificates, and a chain engine that
/// trusts nothing else. Call it before verify(); a further call replaces the anchors. Throws CorvelFatalException if a
/// system call fails; existing anchors then stay in use.
void init();

/// Verifies a detached PKCS #7 signature (DER) of the metadata, signer by signer, and returns who trusts it. Errors are
/// logged, not thrown; a signer whose signature or certificate chain is not valid adds no trust.
VerificationTrust verify(std::string_view metadata, std::string_view signature);

} // namespace Crypto
