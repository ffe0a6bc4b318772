#pragma once

#include "crypto_win32/trust.h"

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

namespace Crypto {

inline void free_certificate(PCCERT_CONTEXT certificate) noexcept {
    CertFreeCertificateContext(certificate);
}
using CertContext = WinConv::Owned<PCCERT_CONTEXT, free_certificate>;

inline void free_chain_engine(HCERTCHAINENGINE engine) noexcept {
    CertFreeCertificateChainEngine(engine);
}
using ChainEngine = WinConv::Owned<HCERTCHAINENGINE, free_chain_engine>;

inline constexpr DWORD message_encodings = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

/// Which member of VerificationTrust a root's signature sets.
enum class Role : std::size_t { developer = 0, release = 1, system = 2 };

/// What init() sets up and verify() uses. Each member uses those before it, and is released before them.
struct Anchors {
    CertStore internal_store;
    CertStore system_root_store;
    CertStore collection_store;
    ChainEngine chain_engine;
    std::unordered_map<std::wstring, Role> release_ca_subjects;
};

/// The process's one set of anchors, empty until init(). Main thread only.
Anchors& anchors();

/// Returns a certificate's subject in the object-identifier name form; nothing if the system gives it two lengths.
std::optional<std::wstring> subject_name(const CERT_CONTEXT& certificate);

} // namespace Crypto
