#include "crypto_win32/trust.h"

#include "crypto_win32/internal/anchors.h"
#include "logger/log.h"
#include "winconv/result.h"

#include <fmt/format.h>

#include <array>
#include <limits>
#include <utility>

namespace Crypto {

using WinConv::Error;
using WinConv::Result;

namespace {

using CertChain = WinConv::Owned<PCCERT_CHAIN_CONTEXT, CertFreeCertificateChain>;

// The trust anchors of the process, empty until init() is called. Main thread only.
Anchors& anchors() {
    // Never destroyed: closing a store may log, and logging has stopped by the time statics are destroyed.
    static auto& instance = *new Anchors;
    return instance;
}

DWORD size_of(std::string_view bytes) {
    return static_cast<DWORD>(bytes.size());
}

const BYTE* data_of(std::string_view bytes) {
    return reinterpret_cast<const BYTE*>(bytes.data());
}

CertStore open_signature_store(std::string_view signature) {
    CRYPT_DATA_BLOB blob{size_of(signature), const_cast<BYTE*>(data_of(signature))};
    return CertStore(CertOpenStore(CERT_STORE_PROV_PKCS7, message_encodings, 0, 0, &blob));
}

// The certificate of a signer whose signature is valid, or the Windows error if it is not.
struct Signer {
    CertContext certificate;
    DWORD error = ERROR_SUCCESS;
};

Signer verify_signer(DWORD signer, std::string_view metadata, std::string_view signature) {
    CRYPT_VERIFY_MESSAGE_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    parameters.dwMsgAndCertEncodingType = message_encodings;
    std::array<const BYTE*, 1> content{data_of(metadata)};
    std::array<DWORD, 1> sizes{size_of(metadata)};
    PCCERT_CONTEXT certificate = nullptr;
    const BOOL good = CryptVerifyDetachedMessageSignature(&parameters, signer, data_of(signature), size_of(signature),
                                                          1, content.data(), sizes.data(), &certificate);
    const DWORD error = GetLastError();
    CertContext owner(certificate);
    return good != 0 ? Signer{std::move(owner)} : Signer{nullptr, error};
}

CertChain build_chain(DWORD signer, const CertContext& certificate, const CertStore& signature_store) {
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    // The signer's index is deliberately passed as dwFlags; for the first signer, that means no flags.
    const BOOL built = CertGetCertificateChain(anchors().chain_engine.get(), certificate.get(), nullptr,
                                               signature_store.get(), &parameters, signer, nullptr, &chain);
    CertChain owner(chain);
    return built != 0 ? std::move(owner) : nullptr;
}

// Returns the root certificate of the chain, or an error if the chain is not valid.
Result<const CERT_CONTEXT*> trusted_root(DWORD signer, const CERT_CHAIN_CONTEXT& chain) {
    const DWORD status = chain.TrustStatus.dwErrorStatus;
    if (status == CERT_TRUST_IS_UNTRUSTED_ROOT) {
        return Error{fmt::format("Signature {} is untrusted", signer)};
    }
    if (status != CERT_TRUST_NO_ERROR) {
        return Error{fmt::format("Error verifying signature chain: {:x}", status)};
    }
    if (chain.cChain == 0) {
        return Error{fmt::format("Certificate chain for signature {} has no elements", signer)};
    }
    const CERT_SIMPLE_CHAIN& last = *chain.rgpChain[chain.cChain - 1];
    if (last.cElement == 0) {
        return Error{fmt::format("Certificate chain element for signature {} has no elements", signer)};
    }
    return last.rgpElement[last.cElement - 1]->pCertContext;
}

// Returns the role of the root certificate that the signer's chain ends in, or an error if the chain is not valid.
Result<Role> role_of_signer(DWORD signer, const CertContext& certificate, const CertStore& signature_store) {
    const CertChain chain = build_chain(signer, certificate, signature_store);
    if (!chain) {
        return Error{fmt::format("Failed to build certificate chain for signature {}: {:x}", signer, GetLastError())};
    }
    const auto root = trusted_root(signer, *chain);
    if (!root.has_value()) {
        return root.error();
    }
    const auto subject = subject_name(*root.value());
    if (!subject) {
        return Error{fmt::format("Failed to get root certificate subject name for signature {}", signer)};
    }
    const auto& subjects = anchors().release_ca_subjects;
    const auto found = subjects.find(*subject);
    return found == subjects.end() ? Role::System : found->second;
}

void add_trust(Role role, VerificationTrust& trust) {
    switch (role) {
    case Role::Developer:
        trust.trusted_developer = true;
        break;
    case Role::Release:
        trust.trusted_release = true;
        break;
    case Role::System:
        trust.trusted_by_system = true;
        break;
    }
}

bool fits_the_system(std::string_view bytes) {
    return bytes.size() <= std::numeric_limits<DWORD>::max();
}

} // namespace

void init() {
    Anchors fresh = make_anchors();
    std::swap(anchors(), fresh);
    LOG_INFO(Logger::main, "Initialized crypto services with CNG");
}

VerificationTrust verify(std::string_view metadata, std::string_view signature) {
    VerificationTrust trust;
    if (!fits_the_system(metadata)) {
        LOG_ERROR(Logger::main, "Failed to verify signature {}: {:x}", 0, ERROR_FILE_TOO_LARGE);
        return trust;
    }
    const CertStore store = fits_the_system(signature) ? open_signature_store(signature) : nullptr;
    if (!store) {
        LOG_ERROR(Logger::main, "Failed to open signature certificate store");
        return trust;
    }
    // The number of signers also bounds the loop, so that it ends even if the system never returns CRYPT_E_NO_SIGNER.
    const LONG signers = CryptGetMessageSignerCount(message_encodings, data_of(signature), size_of(signature));
    for (DWORD signer = 0; signer == 0 || static_cast<LONG>(signer) < signers; ++signer) {
        const auto [certificate, error] = verify_signer(signer, metadata, signature);
        if (!certificate) {
            if (error == static_cast<DWORD>(CRYPT_E_NO_SIGNER)) {
                break;
            }
            LOG_ERROR(Logger::main, "Failed to verify signature {}: {:x}", signer, error);
            continue;
        }
        const auto role = role_of_signer(signer, certificate, store);
        if (role.has_value()) {
            add_trust(role.value(), trust);
        } else {
            LOG_ERROR(Logger::main, "{}", role.error().text);
        }
    }
    return trust;
}

} // namespace Crypto
