#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <wincrypt.h>

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

namespace Crypto {

/// Closes a certificate store; logs a warning if something taken from it is still in use.
void cert_close_store(HCERTSTORE store) noexcept;

using CertStore = WinConv::Owned<HCERTSTORE, cert_close_store>;
using CertContext = WinConv::Owned<PCCERT_CONTEXT, CertFreeCertificateContext>;
using ChainEngine = WinConv::Owned<HCERTCHAINENGINE, CertFreeCertificateChainEngine>;

inline constexpr DWORD message_encodings = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

/// Which member of VerificationTrust a root's signature sets.
enum class Role : std::uint8_t { Developer = 0, Release = 1, System = 2 };

/// What signatures are verified against. Each member uses those before it, and is released before them.
struct Anchors {
    CertStore internal_store;
    CertStore system_root_store;
    CertStore collection_store;
    ChainEngine chain_engine;
    std::unordered_map<std::wstring, Role> release_ca_subjects;
};

/// Returns anchors made anew. Throws CorvelFatalException if the system refuses a step.
Anchors make_anchors();

/// Returns a certificate's subject in the object-identifier name form; nothing if the system gives it two lengths.
std::optional<std::wstring> subject_name(const CERT_CONTEXT& certificate);

} // namespace Crypto
