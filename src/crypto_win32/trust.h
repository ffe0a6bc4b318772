#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <wincrypt.h>

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

/// Closes a certificate store; logs a warning if something taken from it is still in use.
void cert_close_store(HCERTSTORE store) noexcept;

using CertStore = WinConv::Owned<HCERTSTORE, cert_close_store>;

} // namespace Crypto
