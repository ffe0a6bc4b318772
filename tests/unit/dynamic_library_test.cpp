#include "dll/dynamic_library.h"

#include "support/recorded_log.h"

#include <gmock/gmock.h>

TEST(DynamicLibrary, takes_the_first_candidate_with_all_required_symbols) {
    Dll::LibrarySymbol required{nullptr, "RtlGetVersion"};
    Dll::LibrarySymbol missing{nullptr, "NoSuchFunction"};
    Dll::LibrarySymbol behind{nullptr, "NtClose"};
    Dll::DynamicLibrary library({&required}, {&missing, &behind});
    EXPECT_FALSE(library.load({}, false));
    EXPECT_TRUE(library.load({"nosuch", "kernel32", "ntdll"}, false));
    EXPECT_TRUE(library.load({}, false));
    EXPECT_TRUE(required.address != nullptr && missing.address == nullptr && behind.address == nullptr);
    EXPECT_THAT(RecordedLog::take(),
                testing::ElementsAre("debug load: Loading nosuch failed", "debug load: Attempting to load kernel32",
                                     "debug load: Failed to resolve symbol RtlGetVersion from kernel32",
                                     "debug load: Attempting to load ntdll",
                                     "debug load: Failed to resolve optional symbol NoSuchFunction from ntdll",
                                     "debug load: Successfully loaded ntdll"));
    Dll::DynamicLibrary lacking({&missing}, {});
    EXPECT_FALSE(lacking.load({"nosuch", "ntdll"}, true));
    EXPECT_FALSE(lacking.load({}, true));
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());
}
