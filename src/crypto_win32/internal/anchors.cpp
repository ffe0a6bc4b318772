#include "crypto_win32/internal/anchors.h"

#include "crypto_win32/internal/authorities.h"
#include "logger/log.h"
#include "winconv/fatal_exception.h"

#include <fmt/format.h>

#include <span>
#include <utility>

namespace Crypto {

namespace {

constexpr DWORD internal_priority = 100;
constexpr DWORD system_priority = 0;

[[noreturn]] void throw_last_error(fmt::format_string<DWORD> text) {
    throw WinConv::CorvelFatalException(fmt::format(text, GetLastError()));
}

CertStore open_store(LPCSTR provider, fmt::format_string<DWORD> failure) {
    CertStore store(CertOpenStore(provider, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr));
    if (!store) {
        throw_last_error(failure);
    }
    return store;
}

void add_authority(Anchors& anchors, std::span<const unsigned char> der, Role role) {
    constexpr auto failure = FMT_STRING("Failed to add release CA to certificate store: {:x}");
    const CertContext certificate(
        CertCreateCertificateContext(message_encodings, der.data(), static_cast<DWORD>(der.size())));
    if (!certificate) {
        throw_last_error(failure);
    }
    auto subject = subject_name(*certificate);
    if (!subject) {
        throw WinConv::CorvelFatalException("Failed to get certificate subject name");
    }
    anchors.release_ca_subjects.insert_or_assign(std::move(*subject), role);
    if (CertAddCertificateContextToStore(anchors.internal_store.get(), certificate.get(),
                                         CERT_STORE_ADD_REPLACE_EXISTING, nullptr) == 0) {
        throw_last_error(failure);
    }
}

void add_to_collection(const Anchors& anchors, const CertStore& store, DWORD priority,
                       fmt::format_string<DWORD> failure) {
    if (CertAddStoreToCollection(anchors.collection_store.get(), store.get(), 0, priority) == 0) {
        throw_last_error(failure);
    }
}

ChainEngine create_chain_engine(const CertStore& exclusive_root) {
    CERT_CHAIN_ENGINE_CONFIG config{};
    // Windows rejects a structure that is larger than the one it knows. Windows 7 knows 80 bytes; newer headers add
    // fields, depending on _WIN32_WINNT.
    static_assert(sizeof config == 80);
    config.cbSize = sizeof config;
    config.hExclusiveRoot = exclusive_root.get();
    HCERTCHAINENGINE engine = nullptr;
    if (CertCreateCertificateChainEngine(&config, &engine) == 0) {
        throw_last_error("Failed to create certificate chain engine: {:x}");
    }
    return ChainEngine(engine);
}

} // namespace

std::optional<std::wstring> subject_name(const CERT_CONTEXT& certificate) {
    CERT_NAME_BLOB* const subject = &certificate.pCertInfo->Subject;
    const DWORD length = CertNameToStrW(X509_ASN_ENCODING, subject, CERT_OID_NAME_STR, nullptr, 0);
    std::wstring name(length, L'\0');
    if (CertNameToStrW(X509_ASN_ENCODING, subject, CERT_OID_NAME_STR, name.data(), length) != length || length == 0) {
        return std::nullopt;
    }
    name.pop_back();
    return name;
}

void cert_close_store(HCERTSTORE store) noexcept {
    if (CertCloseStore(store, CERT_CLOSE_STORE_CHECK_FLAG) == 0) {
        LOG_WARNING(Logger::main, "Certificate store indicates resources haven't been properly freed");
    }
}

Anchors make_anchors() {
    Anchors fresh;
    fresh.internal_store = open_store(CERT_STORE_PROV_MEMORY, "Failed to create internal certificate store: {:x}");
    add_authority(fresh, release_ca, Role::Release);
    add_authority(fresh, developer_ca, Role::Developer);
    fresh.collection_store =
        open_store(CERT_STORE_PROV_COLLECTION, "Failed to create certficate store collection: {:x}");
    add_to_collection(fresh, fresh.internal_store, internal_priority,
                      "Failed to add internal certificate store to collection: {:x}");
    fresh.system_root_store.reset(CertOpenSystemStoreW(0, L"ROOT"));
    if (!fresh.system_root_store) {
        throw_last_error("Failed to open system certificate store: {:x}");
    }
    add_to_collection(fresh, fresh.system_root_store, system_priority,
                      "Failed to add system certificate store to collection: {:x}");
    fresh.chain_engine = create_chain_engine(fresh.collection_store);
    return fresh;
}

} // namespace Crypto
