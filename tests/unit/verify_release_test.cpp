// verify_release on a faked machine: what Wine does not do, and what fails.

#include "machine/failures.h"

#include "crypto_win32/internal/authorities.h"

#include <fmt/format.h>

namespace {

using VerifyRelease = FailingMachine;

std::string verdict(const char* result, bool developer, bool release, bool system) {
    const auto answer = [](bool yes) { return yes ? "yes" : "no"; };
    return fmt::format("Verification result: {}\n - Verification profile: test\n - Trusted developer: {}\n"
                       " - Trusted release: {}\n - Trusted by system: {}\n",
                       result, answer(developer), answer(release), answer(system));
}

TEST_F(VerifyRelease, judges_every_signer_by_itself_and_no_more_than_the_message_counts) {
    struct Case {
        bool developer, release;
        LONG counted;
        bool trusts_developer, trusts_release;
        Lines chains; // the flags are the signer's index
    };
    const std::string first = "chain with flags 0";
    const std::string second = "chain with flags 1";
    for (const Case& each : std::initializer_list<Case>{{true, true, 9, true, true, {first, second}},
                                                        {true, true, 1, true, false, {first}},
                                                        {true, true, 0, true, false, {first}},
                                                        {true, true, -1, true, false, {first}},
                                                        {false, true, 9, false, true, {second}}}) {
        restore();
        signers = {{Crypto::developer_ca, each.developer}, {Crypto::release_ca, each.release}};
        counted_signers = each.counted;
        const Outcome outcome = run(verify_release);
        EXPECT_EQ(outcome.out, verdict(each.trusts_developer ? "success" : "failed", each.trusts_developer,
                                       each.trusts_release, false));
        EXPECT_EQ(outcome.calls, each.chains);
    }
}

TEST_F(VerifyRelease, trusts_no_chain_that_is_bad_or_empty) {
    CERT_SIMPLE_CHAIN simple{};
    PCERT_SIMPLE_CHAIN simple_chains[] = {&simple};
    CERT_CHAIN_CONTEXT bad{};
    bad.rgpChain = simple_chains;
    for (const auto& [status, chains, reason] :
         {std::tuple(0x20UL, 0UL, "Signature 0 is untrusted"), {0x21UL, 0UL, "Error verifying signature chain: 21"},
          {0x8UL, 0UL, "Error verifying signature chain: 8"}, {0x400UL, 0UL, "Error verifying signature chain: 400"},
          {0UL, 0UL, "Certificate chain for signature 0 has no elements"},
          {0UL, 1UL, "Certificate chain element for signature 0 has no elements"}}) {
        bad.TrustStatus.dwErrorStatus = status;
        bad.cChain = chains;
        chain = &bad;
        const Outcome outcome = run(verify_release);
        EXPECT_EQ(outcome.out, verdict("failed", false, false, false));
        EXPECT_THAT(outcome.log, testing::Contains("error verify: " + std::string(reason)));
    }
}

TEST_F(VerifyRelease, says_what_failed) {
    const auto fatal = [](const char* function, int call, const char* text) {
        return Message{function, call, verify_release, "", fmt::format("FATAL ERROR: {}\n", text), "", "status 1"};
    };
    const auto unverified = [](const char* function, int call, const char* log) {
        return Message{function, call, verify_release, verdict("failed", false, false, false), "",
                       fmt::format("error verify: {}", log), "status 1"};
    };
    expect_messages({
        fatal("CertOpenStore", 1, "Failed to create internal certificate store: 5"),
        fatal("CertCreateCertificateContext", 2, "Failed to add release CA to certificate store: 5"),
        fatal("CertNameToStrW", 1, "Failed to get certificate subject name"),
        fatal("CertNameToStrW", 4, "Failed to get certificate subject name"),
        fatal("CertAddCertificateContextToStore", 2, "Failed to add release CA to certificate store: 5"),
        fatal("CertOpenStore", 2, "Failed to create certficate store collection: 5"),
        fatal("CertAddStoreToCollection", 1, "Failed to add internal certificate store to collection: 5"),
        fatal("CertOpenSystemStoreW", 1, "Failed to open system certificate store: 5"),
        fatal("CertAddStoreToCollection", 2, "Failed to add system certificate store to collection: 5"),
        fatal("CertCreateCertificateChainEngine", 1, "Failed to create certificate chain engine: 5"),
        unverified("CertOpenStore", 3, "Failed to open signature certificate store"),
        unverified("CryptVerifyDetachedMessageSignature", 1, "Failed to verify signature 0: 80090006"),
        unverified("CertGetCertificateChain", 1, "Failed to build certificate chain for signature 0: 5"),
        unverified("CertNameToStrW", 5, "Failed to get root certificate subject name for signature 0"),
        {"CertCloseStore", 1, verify_release, verdict("success", true, false, false), "",
         "warning cert_close_store: Certificate store indicates resources haven't been properly freed"},
        {"CreateFileW", 2, verify_release, "", "Failed to read inputs: read: release.json: Permission denied", "", "status 1"},
        {"ReadFile", 5, verify_release, "", "Failed to read inputs: read: developer.p7s: Read fault."},
        {nullptr, 0, {"verify_release", "missing", "b"}, "",
         "Failed to read inputs: read: missing: No such file or directory", "", "status 1"},
    });
}

} // namespace
