#include "crypto_win32/trust.h"

#include "crypto_win32/internal/anchors.h"
#include "crypto_win32/internal/authorities.h"
#include "fakes/imports.h"
#include "support/recorded_log.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <span>

using testing::ElementsAre;

namespace {

// Messages with several signers, which Wine cannot read: each signer is good or not, and leaves its authority's
// certificate either way.
class Signers : public testing::Test {
protected:
    std::vector<std::pair<std::span<const unsigned char>, bool>> signers;
    std::vector<DWORD> flags;
    LONG counted = 9;
    Fakes::Replacements replaced;

    void SetUp() override {
        Crypto::init();
        RecordedLog::take();
        replaced.add(Fakes::CertOpenStore, [](auto, auto... rest) {
            return (*Fakes::CertOpenStore.original)(CERT_STORE_PROV_MEMORY, rest...);
        });
        replaced.add(Fakes::CryptGetMessageSignerCount, [this](auto...) { return counted; });
        replaced.add(Fakes::CryptVerifyDetachedMessageSignature, [this](auto, DWORD signer, auto, auto, auto, auto,
                                                                        auto, PCCERT_CONTEXT* certificate) {
            if (signer >= signers.size()) {
                SetLastError(static_cast<DWORD>(CRYPT_E_NO_SIGNER));
                return FALSE;
            }
            const auto [der, good] = signers[signer];
            *certificate = CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
            SetLastError(static_cast<DWORD>(NTE_BAD_SIGNATURE));
            return good ? TRUE : FALSE;
        });
        replaced.add(Fakes::CertGetCertificateChain,
                     [this](auto a, auto b, auto c, auto d, auto e, DWORD f, auto g, auto h) {
                         flags.push_back(f);
                         return (*Fakes::CertGetCertificateChain.original)(a, b, c, d, e, f, g, h);
                     });
    }
    // "developer release system", each as 1 or 0.
    static std::string verify() {
        const auto trust = Crypto::verify("metadata", "signature");
        return fmt::format("{:d} {:d} {:d}", trust.trusted_developer, trust.trusted_release, trust.trusted_by_system);
    }
};

TEST_F(Signers, add_up_to_the_trust_until_there_are_no_more_and_are_chained_each_with_its_index) {
    signers = {{Crypto::developer_ca, true}, {Crypto::release_ca, true}};
    EXPECT_EQ(verify(), "1 1 0");
    EXPECT_THAT(flags, ElementsAre(0, 1));
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
}

TEST_F(Signers, that_are_bad_count_for_nothing_and_keep_nobody_from_counting) {
    signers = {{Crypto::developer_ca, false}, {Crypto::release_ca, true}};
    EXPECT_EQ(verify(), "0 1 0");
    EXPECT_THAT(RecordedLog::take(), ElementsAre("error verify: Failed to verify signature 0: 80090006"));
}

TEST_F(Signers, are_tried_as_many_as_are_counted_and_at_least_one) {
    signers = {{Crypto::developer_ca, true}, {Crypto::release_ca, true}};
    for (const LONG few : {-1L, 0L, 1L}) {
        counted = few;
        EXPECT_EQ(verify(), "1 0 0") << few;
    }
}

TEST_F(Signers, are_trusted_only_under_a_chain_that_is_good_to_its_end) {
    CERT_CHAIN_CONTEXT chain{};
    CERT_SIMPLE_CHAIN simple{};
    PCERT_SIMPLE_CHAIN simple_chains[] = {&simple};
    signers = {{Crypto::release_ca, true}};
    replaced.add(Fakes::CertGetCertificateChain,
                 [&](auto, auto, auto, auto, auto, auto, auto, PCCERT_CHAIN_CONTEXT* result) {
                     *result = &chain;
                     return TRUE;
                 });
    replaced.add(Fakes::CertFreeCertificateChain, [](auto) {});
    const auto expect_nobody = [&](DWORD status, const char* message) {
        chain.TrustStatus.dwErrorStatus = status;
        EXPECT_EQ(verify(), "0 0 0");
        EXPECT_THAT(RecordedLog::take(), ElementsAre(message));
    };
    expect_nobody(CERT_TRUST_IS_UNTRUSTED_ROOT, "error verify: Signature 0 is untrusted");
    expect_nobody(CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_IS_NOT_TIME_VALID,
                  "error verify: Error verifying signature chain: 21");
    expect_nobody(0, "error verify: Certificate chain for signature 0 has no elements");
    chain.cChain = 1;
    chain.rgpChain = simple_chains;
    expect_nobody(0, "error verify: Certificate chain element for signature 0 has no elements");
}

TEST(CertCloseStore, warns_of_what_is_still_in_use) {
    const Fakes::Replacement pending(Fakes::CertCloseStore, [](HCERTSTORE, DWORD flags) {
        EXPECT_EQ(flags, static_cast<DWORD>(CERT_CLOSE_STORE_CHECK_FLAG));
        return FALSE;
    });
    Crypto::cert_close_store(nullptr);
    EXPECT_THAT(RecordedLog::take(), ElementsAre("warning cert_close_store: Certificate store indicates resources "
                                                 "haven't been properly freed"));
}

} // namespace
