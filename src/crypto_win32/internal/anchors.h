#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <wincrypt.h>

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

namespace Crypto {

/// Closes a certificate store. Logs a warning if certificate contexts from it are still in use.
void cert_close_store(HCERTSTORE store) noexcept;

using CertStore = WinConv::Owned<HCERTSTORE, cert_close_store>;
using CertContext = WinConv::Owned<PCCERT_CONTEXT, CertFreeCertificateContext>;
using ChainEngine = WinConv::Owned<HCERTCHAINENGINE, CertFreeCertificateChainEngine>;

inline constexpr DWORD message_encodings = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

/// The member of VerificationTrust that a signature under a root certificate sets.
enum class Role : std::uint8_t { Developer = 0, Release = 1, System = 2 };

/// The certificates that signatures are verified against. Each member uses those declared before it, which are released
/// after it.
struct Anchors {
    CertStore internal_store;
    CertStore system_root_store;
    CertStore collection_store;
    ChainEngine chain_engine;
    /// Despite its name, maps the subjects of both built-in authorities, as subject_name() returns them, to their
    /// roles.
    std::unordered_map<std::wstring, Role> release_ca_subjects;
};

/// Creates the anchors. Throws CorvelFatalException if a system call fails.
Anchors make_anchors();

/// Returns a certificate's subject name with object identifiers as attribute types (CERT_OID_NAME_STR), or std::nullopt
/// if the conversion fails.
std::optional<std::wstring> subject_name(const CERT_CONTEXT& certificate);

} // namespace Crypto
