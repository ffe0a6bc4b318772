#include "system_win32/detectors/os_name.h"

#include <gtest/gtest.h>

#include <utility>

using System::name_operating_system;
using System::OsFacts;

TEST(OsName, is_that_of_security_advisories) {
    const std::pair<OsFacts, const char*> cases[] = {{{10, 0, 26100, true, 7, 0x8664, "24H2"}, "Windows Server 2025"}, {{10, 0, 26099, true, 7, 0x8664}, "Windows Server 2022"},
        {{10, 0, 20347, true, 7, 0x8664}, "Windows Server 2019"}, {{10, 0, 17762, true, 7, 0x8664}, "Windows Server 2016"},
        {{10, 0, 22000, false, 175, 0xAA64, "21H2"}, "Windows 11 Version 21H2 for ARM64-based Systems"}, {{10, 0, 21999, false, 0, 0x14C, "21H1"}, "Windows 10 Version 21H1 for 32-bit Systems"},
        {{10, 0, 19045, false, 0, 0x8664}, "Windows 10 for x64-based Systems"}, {{6, 3, 9600, true, 7, 0x8664}, "Windows Server 2012 R2"},
        {{6, 3, 9600, false, 0, 0x1C0}, "Windows 8.1 for ARM-based Systems"}, {{6, 2, 9200, false, 0, 0x8664}, "Windows 8 for x64-based Systems"},
        {{6, 2, 9200, true, 7, 0x8664}, "Windows Server 2012"}, {{6, 1, 7601, false, 0, 0x14C, "", "Service Pack 1"}, "Windows 7 for 32-bit Systems Service Pack 1"},
        {{6, 0, 6003, true, 7, 0x200}, "Windows Server 2008 for Itanium-based Systems"}};
    for (const auto& [facts, name] : cases) { EXPECT_EQ(name_operating_system(facts).name, name); }
    for (const std::uint32_t product : {12U, 13U, 14U, 29U, 39U, 40U, 41U, 43U, 44U, 45U, 46U, 145U, 146U}) {
        EXPECT_EQ(name_operating_system({10, 0, 20348, true, product}).name, "Windows Server 2022 (Server Core Installation)");
    }
}
