#pragma once

#include <string_view>

namespace Crypto {

/// By whom a signature is trusted: the authority that signs development builds, the one that signs releases, or
/// some other root that the system trusts.
struct VerificationTrust {
    bool trusted_developer = false;
    bool trusted_release = false;
    bool trusted_by_system = false;
};

/// Sets up the trust anchors: the two built-in authorities and the system's root certificates, and a chain engine
/// that trusts nothing else. Call it before verify(); called again, it replaces them. Throws CorvelFatalException,
/// leaving what was there, if the system refuses a step.
void init();

/// Checks a detached PKCS #7 signature (DER) over the metadata, signer by signer, and returns who trusts it. A bad
/// signature never throws: what is wrong with it is logged, and it is trusted by nobody.
VerificationTrust verify(std::string_view metadata, std::string_view signature);

} // namespace Crypto
