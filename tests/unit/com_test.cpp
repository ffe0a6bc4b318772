#include "system_win32/com.h"

#include <gtest/gtest.h>

TEST(Apartment, leaves_com_initialised_where_it_was) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    { const System::WindowsIpcApartment apartment; }
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    // Two of this test, and COM and WinRT of the apartment.
    for (int initialised = 0; initialised < 4; ++initialised) {
        CoUninitialize();
    }
}
