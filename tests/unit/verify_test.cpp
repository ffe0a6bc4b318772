#include "config/file.h"
#include "crypto_win32/authorities.h"
#include "crypto_win32/trust.h"
#include "fakes/imports.h"
#include "main/verdict.h"
#include "support/recorded_log.h"
#include "winconv/fatal_exception.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <functional>
#include <random>

using Crypto::VerificationTrust;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

// "developer release system", each as 1 or 0.
std::string text(const VerificationTrust& trust) {
    return fmt::format("{:d} {:d} {:d}", trust.trusted_developer, trust.trusted_release, trust.trusted_by_system);
}

std::string fixture(const char* name) {
    return Config::read(std::string("Z:" TEST_FIXTURES "/sample_authorities/") + name);
}

std::string init_failure() {
    try {
        Crypto::init();
        return "";
    } catch (const WinConv::CorvelFatalException& fatal) {
        return fatal.text();
    }
}

// Verifies with real certificates, and counts what is taken from the system and given back.
class Verify : public testing::Test {
protected:
    std::string metadata = fixture("release.json");
    std::string signature = fixture("release.p7s");
    int balance = 0;

    template <typename Signature>
    Fakes::Replacement<Signature> counting(Fakes::Fake<Signature>& fake, int change) {
        return {fake, [this, &fake, change](auto... args) {
                    const auto result = (*fake.original)(args...);
                    balance += result ? change : 0;
                    return result;
                }};
    }
    Fakes::Replacement<decltype(CertOpenStore)> open_ = counting(Fakes::CertOpenStore, 1);
    Fakes::Replacement<decltype(CertCloseStore)> close_ = counting(Fakes::CertCloseStore, -1);
    Fakes::Replacement<decltype(CryptVerifyDetachedMessageSignature)> verify_ =
        counting(Fakes::CryptVerifyDetachedMessageSignature, 1);
    Fakes::Replacement<decltype(CertFreeCertificateContext)> free_ = counting(Fakes::CertFreeCertificateContext, -1);

    void SetUp() override {
        Crypto::init();
        RecordedLog::take();
        balance = 0;
    }
    std::string verify() const {
        return text(Crypto::verify(metadata, signature));
    }
};

TEST_F(Verify, trusts_the_authority_that_the_signer_is_under) {
    EXPECT_EQ(verify(), "0 1 0");
    signature = fixture("developer.p7s");
    EXPECT_EQ(verify(), "1 0 0");
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
    EXPECT_EQ(balance, 0);
}

TEST_F(Verify, trusts_nobody_for_altered_metadata_or_what_is_no_signature) {
    metadata[10] ^= 1;
    EXPECT_EQ(verify(), "0 0 0");
    EXPECT_THAT(RecordedLog::take(), ElementsAre(StartsWith("error verify: Failed to verify signature 0: ")));
    for (const std::string& no_signature : {std::string(), metadata, signature.substr(0, 700)}) {
        signature = no_signature;
        EXPECT_EQ(verify(), "0 0 0");
        EXPECT_THAT(RecordedLog::take(), ElementsAre("error verify: Failed to open signature certificate store"));
    }
    EXPECT_EQ(balance, 0);
}

TEST_F(Verify, adds_up_the_trust_of_all_signers_until_there_is_none_and_chains_each_with_its_index) {
    const std::span<const unsigned char> authorities[] = {Crypto::developer_ca, Crypto::release_ca};
    const Fakes::Replacement count(Fakes::CryptGetMessageSignerCount, [](auto...) { return 9; });
    const Fakes::Replacement good(Fakes::CryptVerifyDetachedMessageSignature,
                                  [&](auto, DWORD signer, auto, auto, auto, auto, auto, PCCERT_CONTEXT* certificate) {
                                      if (signer == 2) {
                                          SetLastError(static_cast<DWORD>(CRYPT_E_NO_SIGNER));
                                          return FALSE;
                                      }
                                      const auto der = authorities[signer];
                                      *certificate = CertCreateCertificateContext(X509_ASN_ENCODING, der.data(),
                                                                                  static_cast<DWORD>(der.size()));
                                      return TRUE;
                                  });
    std::vector<DWORD> flags;
    const Fakes::Replacement chain(Fakes::CertGetCertificateChain,
                                   [&](auto a, auto b, auto c, auto d, auto e, DWORD f, auto g, auto h) {
                                       flags.push_back(f);
                                       return (*Fakes::CertGetCertificateChain.original)(a, b, c, d, e, f, g, h);
                                   });
    EXPECT_EQ(verify(), "1 1 0");
    EXPECT_THAT(flags, ElementsAre(0, 1));
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
}

TEST_F(Verify, trusts_nobody_when_a_step_fails) {
    CERT_CHAIN_CONTEXT chain{};
    CERT_SIMPLE_CHAIN simple{};
    PCERT_SIMPLE_CHAIN simple_chains[] = {&simple};
    const auto give_chain = [&](auto, auto, auto, auto, auto, auto, auto, PCCERT_CHAIN_CONTEXT* result) {
        *result = &chain;
        return TRUE;
    };
    const auto expect_nobody = [&](const char* message) {
        EXPECT_EQ(verify(), "0 0 0");
        EXPECT_THAT(RecordedLog::take(), ElementsAre(testing::EndsWith(message)));
    };
    {
        const Fakes::Replacement refuse(Fakes::CertGetCertificateChain, [](auto...) {
            SetLastError(ERROR_OUTOFMEMORY);
            return FALSE;
        });
        expect_nobody(": Failed to build certificate chain for signature 0: e");
    }
    {
        const Fakes::Replacement give(Fakes::CertGetCertificateChain, give_chain);
        const Fakes::Replacement keep(Fakes::CertFreeCertificateChain, [](auto) {});
        chain.TrustStatus.dwErrorStatus = CERT_TRUST_IS_UNTRUSTED_ROOT;
        expect_nobody(": Signature 0 is untrusted");
        chain.TrustStatus.dwErrorStatus = CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_IS_NOT_TIME_VALID;
        expect_nobody(": Error verifying signature chain: 21");
        chain.TrustStatus.dwErrorStatus = 0;
        expect_nobody(": Certificate chain for signature 0 has no elements");
        chain.cChain = 1;
        chain.rgpChain = simple_chains;
        expect_nobody(": Certificate chain element for signature 0 has no elements");
    }
    const Fakes::Replacement longer(Fakes::CertNameToStrW,
                                    [](auto, auto, auto, LPWSTR out, auto) -> DWORD { return out ? 5 : 4; });
    expect_nobody(": Failed to get root certificate subject name for signature 0");
    EXPECT_EQ(balance, 0);
}

// Whatever is changed in a signature, nobody is trusted who did not sign, nothing is kept and nothing crashes.
TEST_F(Verify, gains_no_trust_from_a_mutated_signature) {
    std::mt19937 random(20241);
    const std::string genuine = signature;
    for (int round = 0; round < 3000; ++round) {
        signature = genuine;
        for (unsigned change = 0; change <= random() % 4; ++change) {
            signature[random() % signature.size()] = static_cast<char>(random());
        }
        if (round % 3 == 0) {
            signature.resize(random() % signature.size());
        }
        const std::string trust = verify();
        EXPECT_TRUE(trust == "0 0 0" || trust == "0 1 0") << trust << " in round " << round;
    }
    EXPECT_EQ(balance, 0);
    EXPECT_THAT(RecordedLog::take(), testing::Not(testing::Contains(testing::HasSubstr("properly freed"))));
}

TEST_F(Verify, works_with_the_old_anchors_after_a_failed_init_and_with_new_ones_after_a_second) {
    const auto refuse = [&](auto& fake, auto when, const char* message) {
        {
            const Fakes::Replacement replacement(fake, [&, when](auto... args) {
                return when(args...) ? decltype((*fake.original)(args...)){} : (*fake.original)(args...);
            });
            SetLastError(0xABC);
            EXPECT_THAT(init_failure(), testing::HasSubstr(message));
        }
        EXPECT_EQ(verify(), "0 1 0");
        EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
    };
    int calls = 0;
    const auto always = [](auto...) { return true; };
    const auto second = [&](auto...) { return ++calls == 2; };
    const auto provider = [](LPCSTR wanted) { return [wanted](LPCSTR name, auto...) { return name == wanted; }; };
    refuse(Fakes::CertOpenStore, provider(CERT_STORE_PROV_MEMORY), "Failed to create internal certificate store: abc");
    refuse(Fakes::CertCreateCertificateContext, always, "Failed to add release CA to certificate store: abc");
    refuse(
        Fakes::CertNameToStrW, [](auto, auto, auto, LPWSTR out, auto) { return out != nullptr; },
        "Failed to get certificate subject name");
    refuse(Fakes::CertAddCertificateContextToStore, always, "Failed to add release CA to certificate store: ");
    refuse(Fakes::CertOpenStore, provider(CERT_STORE_PROV_COLLECTION),
           "Failed to create certficate store collection: ");
    refuse(Fakes::CertAddStoreToCollection, always, "Failed to add internal certificate store to collection: ");
    refuse(Fakes::CertOpenSystemStoreW, always, "Failed to open system certificate store: ");
    refuse(Fakes::CertAddStoreToCollection, second, "Failed to add system certificate store to collection: ");
    refuse(Fakes::CertCreateCertificateChainEngine, always, "Failed to create certificate chain engine: ");
    EXPECT_EQ(init_failure(), "");
    EXPECT_EQ(verify(), "0 1 0");
    EXPECT_THAT(RecordedLog::take(), ElementsAre("info init: Initialized crypto services with CNG"));
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

TEST(Verdict, needs_nobody_the_developer_or_all_three) {
    for (int bits = 0; bits < 8; ++bits) {
        const VerificationTrust trust{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0};
        EXPECT_TRUE(Commands::is_acceptable(Config::SelfUpdateProfile::Unsigned, trust));
        EXPECT_EQ(Commands::is_acceptable(Config::SelfUpdateProfile::Test, trust), (bits & 1) != 0);
        for (const int code : {2, 3, 255}) {
            EXPECT_EQ(Commands::is_acceptable(static_cast<Config::SelfUpdateProfile>(code), trust), bits == 7);
        }
    }
}

} // namespace
