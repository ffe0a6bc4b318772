#include "system_win32/internal/machine.h"

#include "fakes/imports.h"
#include "support/recorded_log.h"
#include "system_win32/internal/libraries.h"

#include <gmock/gmock.h>

#include <utility>

namespace {

TEST(NativeMachine, is_asked_of_the_function_that_sees_through_emulation_or_else_of_the_system) {
    const auto of_system =
        std::exchange(System::is_wow64_process2.address,
                      reinterpret_cast<FARPROC>(reinterpret_cast<void*>(+[](HANDLE, USHORT*, USHORT* native) -> BOOL {
                          *native = 0xAA64;
                          return TRUE;
                      })));
    EXPECT_EQ(System::detect_native_arch(), "arm64");
    System::is_wow64_process2.address = nullptr;
    for (const auto& known : {std::pair<WORD, const char*>(9, "x64"), {0, "x86"}, {6, "ia64"}, {77, "x86_64"}}) {
        const Fakes::Replacement info(Fakes::GetNativeSystemInfo,
                                      [&](SYSTEM_INFO* result) { result->wProcessorArchitecture = known.first; });
        EXPECT_EQ(System::detect_native_arch(), known.second);
    }
    EXPECT_THAT(RecordedLog::take(),
                testing::Contains("warning detect_native_arch: Assuming native architecture is same as agent "
                                  "architecture due to unknown machine architecture 0x0"));
    System::is_wow64_process2.address = of_system;
}

} // namespace
