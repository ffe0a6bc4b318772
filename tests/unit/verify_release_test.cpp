// verify_release on a faked machine: what Wine does not do, and what fails.

#include "machine/machine.h"

#include "crypto_win32/internal/authorities.h"
#include "crypto_win32/trust.h"

using VerifyRelease = Machine;

static std::string verdict(bool developer, bool release) {
    return fmt::format("Verification result: {}\n - Verification profile: test\n - Trusted developer: {}\n - Trusted release: {}\n"
                       " - Trusted by system: no\n",
        developer ? "success" : "failed", developer ? "yes" : "no", release ? "yes" : "no");
}

TEST_F(VerifyRelease, judges_every_signer_by_itself_and_no_more_than_the_message_counts) {
    const Lines both = {"chain with flags 0", "chain with flags 1"}; // the flags are the signer's index
    const std::tuple<bool, LONG, bool, bool, Lines> cases[] = {
        {true, 2, true, true, both}, {true, 1, true, false, {both[0]}}, {true, 0, true, false, {both[0]}}, {true, -1, true, false, {both[0]}}, {false, 9, false, true, {both[1]}}};
    for (const auto& [good, counted, trusts_developer, trusts_release, chains] : cases) {
        restore();
        signers = {{Crypto::developer_ca, good}, {Crypto::release_ca, true}};
        counted_signers = counted;
        const Outcome outcome = run(verify_release);
        EXPECT_EQ(outcome.out, verdict(trusts_developer, trusts_release));
        EXPECT_EQ(outcome.calls, chains);
    }
    EXPECT_FALSE(Crypto::verify({"", 1ULL << 32}, "signature").trusted_release) << "the system is asked for the first of 4 GiB";
}

TEST_F(VerifyRelease, says_what_failed) {
    const std::string fatal = "FATAL ERROR: Failed to ";
    const std::string unread = "Failed to read inputs: read: ";
    const std::string unverified = verdict(false, false);
    expect_messages(verify_release, "status 1",
        {{"CreateFileW 1", "", "Fatal exception occurred loading config: FATAL ERROR: Failed to read config file: read: <folder>\\ProgramData\\corvel\\corvel.json: Permission denied\n"},
            {"CertOpenStore 1", "", fatal + "create internal certificate store: 5\n"}, {"CertCreateCertificateContext 2", "", fatal + "add release CA to certificate store: 5\n"},
            {"CertNameToStrW 1", "", fatal + "get certificate subject name\n"}, {"CertNameToStrW 4", "", fatal + "get certificate subject name\n"},
            {"CertAddCertificateContextToStore 2", "", fatal + "add release CA to certificate store: 5\n"}, {"CertOpenStore 2", "", fatal + "create certficate store collection: 5\n"},
            {"CertAddStoreToCollection 1", "", fatal + "add internal certificate store to collection: 5\n"}, {"CertOpenSystemStoreW 1", "", fatal + "open system certificate store: 5\n"},
            {"CertAddStoreToCollection 2", "", fatal + "add system certificate store to collection: 5\n"}, {"CertCreateCertificateChainEngine 1", "", fatal + "create certificate chain engine: 5\n"},
            {"CertOpenStore 3", unverified, "", "error verify: Failed to open signature certificate store"},
            {"CryptVerifyDetachedMessageSignature 1", unverified, "", "error verify: Failed to verify signature 0: 80090006"},
            {"CertGetCertificateChain 1", unverified, "", "error verify: Failed to build certificate chain for signature 0: 5"},
            {"CertNameToStrW 5", unverified, "", "error verify: Failed to get root certificate subject name for signature 0"}, {"CreateFileW 2", "", unread + "release.json: Permission denied"},
            {"ReadFile 5", "", unread + "developer.p7s: Read fault."}});
    expect_messages(verify_release, "status 0", {{"CertCloseStore 1", verdict(true, false), "", "warning cert_close_store: Certificate store indicates resources haven't been properly freed"}});
}
