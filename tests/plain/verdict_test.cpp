#include "main/verdict.h"

#include <gtest/gtest.h>

TEST(Verdict, of_the_profile_test_needs_the_developer_and_that_of_production_all_three) {
    for (int bits = 0; bits < 8; ++bits) {
        const Crypto::VerificationTrust trust{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0};
        EXPECT_TRUE(Commands::is_acceptable(Config::SelfUpdateProfile::Unsigned, trust));
        EXPECT_EQ(Commands::is_acceptable(Config::SelfUpdateProfile::Test, trust), (bits & 1) != 0);
        for (const int code : {2, 3, 255}) { EXPECT_EQ(Commands::is_acceptable(static_cast<Config::SelfUpdateProfile>(code), trust), bits == 7); }
    }
}
