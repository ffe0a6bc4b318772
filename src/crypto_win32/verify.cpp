#include "crypto_win32/anchors.h"
#include "logger/log.h"

#include <array>
#include <limits>

namespace Crypto {

namespace {

void free_chain(PCCERT_CHAIN_CONTEXT chain) noexcept {
    CertFreeCertificateChain(chain);
}
using CertChain = WinConv::Owned<PCCERT_CHAIN_CONTEXT, free_chain>;

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

// Returns the certificate of the signer if its signature over the metadata is good, else sets the last error.
CertContext verify_signer(DWORD signer, std::string_view metadata, std::string_view signature) {
    CRYPT_VERIFY_MESSAGE_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    parameters.dwMsgAndCertEncodingType = message_encodings;
    std::array<const BYTE*, 1> content{data_of(metadata)};
    std::array<DWORD, 1> sizes{size_of(metadata)};
    PCCERT_CONTEXT certificate = nullptr;
    const BOOL good = CryptVerifyDetachedMessageSignature(&parameters, signer, data_of(signature), size_of(signature),
                                                          1, content.data(), sizes.data(), &certificate);
    CertContext owner(certificate);
    return good != 0 ? std::move(owner) : nullptr;
}

CertChain build_chain(DWORD signer, const CertContext& certificate, const CertStore& signature_store) {
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    // The signer's index is the flags on purpose: the first signer is chained with none.
    if (CertGetCertificateChain(anchors().chain_engine.get(), certificate.get(), nullptr, signature_store.get(),
                                &parameters, signer, nullptr, &chain) == 0) {
        LOG_ERROR(Logger::main, "Failed to build certificate chain for signature {}: {:x}", signer, GetLastError());
    }
    return CertChain(chain);
}

// Returns the certificate that the chain ends in, if the chain is good.
const CERT_CONTEXT* trusted_root(DWORD signer, const CERT_CHAIN_CONTEXT& chain) {
    const DWORD status = chain.TrustStatus.dwErrorStatus;
    if (status == CERT_TRUST_IS_UNTRUSTED_ROOT) {
        LOG_ERROR(Logger::main, "Signature {} is untrusted", signer);
        return nullptr;
    }
    if (status != CERT_TRUST_NO_ERROR) {
        LOG_ERROR(Logger::main, "Error verifying signature chain: {:x}", status);
        return nullptr;
    }
    if (chain.cChain == 0) {
        LOG_ERROR(Logger::main, "Certificate chain for signature {} has no elements", signer);
        return nullptr;
    }
    const CERT_SIMPLE_CHAIN& last = *chain.rgpChain[chain.cChain - 1];
    if (last.cElement == 0) {
        LOG_ERROR(Logger::main, "Certificate chain element for signature {} has no elements", signer);
        return nullptr;
    }
    return last.rgpElement[last.cElement - 1]->pCertContext;
}

void add_trust(DWORD signer, const CERT_CONTEXT& root, VerificationTrust& trust) {
    const auto subject = subject_name(root);
    if (!subject) {
        LOG_ERROR(Logger::main, "Failed to get root certificate subject name for signature {}", signer);
        return;
    }
    const auto& subjects = anchors().release_ca_subjects;
    const auto found = subjects.find(*subject);
    switch (found == subjects.end() ? Role::system : found->second) {
    case Role::developer:
        trust.trusted_developer = true;
        break;
    case Role::release:
        trust.trusted_release = true;
        break;
    case Role::system:
        trust.trusted_by_system = true;
        break;
    }
}

bool fits_the_system(std::string_view bytes) {
    return bytes.size() <= std::numeric_limits<DWORD>::max();
}

} // namespace

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
    // The "no signer" code alone would leave the end of the loop to whoever made the message.
    const LONG signers = CryptGetMessageSignerCount(message_encodings, data_of(signature), size_of(signature));
    for (DWORD signer = 0; static_cast<LONG>(signer) < signers; ++signer) {
        const CertContext certificate = verify_signer(signer, metadata, signature);
        if (!certificate) {
            const DWORD error = GetLastError();
            if (error == static_cast<DWORD>(CRYPT_E_NO_SIGNER)) {
                break;
            }
            LOG_ERROR(Logger::main, "Failed to verify signature {}: {:x}", signer, error);
            continue;
        }
        const CertChain chain = build_chain(signer, certificate, store);
        const CERT_CONTEXT* const root = chain ? trusted_root(signer, *chain) : nullptr;
        if (root != nullptr) {
            add_trust(signer, *root, trust);
        }
    }
    return trust;
}

} // namespace Crypto
