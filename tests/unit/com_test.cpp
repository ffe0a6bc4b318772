#include "system_win32/com.h"

#include "fakes/imports.h"
#include "system_win32/internal/libraries.h"

#include <gtest/gtest.h>

namespace {

TEST(Apartment, leaves_com_initialised_where_it_was) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    { const System::WindowsIpcApartment apartment; }
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    // Two of this test, and COM and WinRT of the apartment.
    for (int initialised = 0; initialised < 4; ++initialised) {
        CoUninitialize();
    }
}

TEST(WinRt, is_used_also_where_it_cannot_be_ended) {
    const Fakes::Replacement without_end(Fakes::GetProcAddress, [](HMODULE library, LPCSTR name) {
        const bool end = std::string_view(name) == "RoUninitialize";
        return end ? nullptr : (*Fakes::GetProcAddress.original)(library, name);
    });
    EXPECT_TRUE(System::winrt_core().load({"api-ms-win-core-winrt-l1-1-0.dll"}, true));
    { const System::WindowsIpcApartment apartment; }
    CoUninitialize();
}

} // namespace
