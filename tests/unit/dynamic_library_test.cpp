#include "dll/dynamic_library.h"

#include "dll/search.h"
#include "support/unit_test.h"
#include "system_win32/com.h"

#include <cstdlib>

using namespace testing;

extern "C" std::uintptr_t __stack_chk_guard;

TEST(DynamicLibrary, takes_the_first_candidate_with_all_required_symbols) {
    Dll::LibrarySymbol required{nullptr, "RtlGetVersion"};
    Dll::LibrarySymbol missing{nullptr, "NoSuchFunction"};
    Dll::LibrarySymbol after{nullptr, "NtClose"};
    Dll::DynamicLibrary library({&required}, {&missing, &after});
    EXPECT_TRUE(library.load({"nosuch", "kernel32", "ntdll"}, false));
    EXPECT_TRUE(required.address != nullptr && missing.address == nullptr && after.address == nullptr);
    EXPECT_THAT(RecordedLog::take(), IsSupersetOf({"debug load: Loading nosuch failed", "debug load: Failed to resolve symbol RtlGetVersion from kernel32",
                                         "debug load: Failed to resolve optional symbol NoSuchFunction from ntdll", "debug load: Successfully loaded ntdll"}));
}

TEST(StartUp, confines_the_search_as_far_as_it_can_and_makes_a_guard) {
    const Fakes::Replacement none(Fakes::GetProcAddress, [](auto...) -> FARPROC { return nullptr; });
    LPCWSTR left = nullptr;
    const Fakes::Replacement set(Fakes::SetDllDirectoryW, [&](LPCWSTR folder) { return left = folder, TRUE; });
    Dll::confine_search();
    EXPECT_STREQ(left, L"");
    EXPECT_TRUE((__stack_chk_guard & 0xFF) == 0 && __stack_chk_guard > UINT32_MAX) << __stack_chk_guard;
}

TEST(Apartment, does_without_winrt) {
    const auto run = [] { // in a process of its own, as one loads WinRT once only
        const Fakes::Replacement none(
            Fakes::GetProcAddress, [](HMODULE library, LPCSTR name) { return std::string_view(name) == "RoInitialize" ? nullptr : (*Fakes::GetProcAddress.original)(library, name); });
        { const System::WindowsIpcApartment apartment; }
        std::_Exit(0);
    };
    EXPECT_EXIT(run(), ExitedWithCode(0), "");
}
