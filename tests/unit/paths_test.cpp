#include "files/paths.h"

#include "fakes/imports.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

TEST(ScratchFolder, is_created_once_but_not_its_parent) {
    const TemporaryFolder folder;
    const Fakes::Replacement directory(Fakes::GetWindowsDirectoryW, [&](LPWSTR buffer, UINT) {
        return static_cast<UINT>(std::wcslen(std::wcscpy(buffer, folder.path().c_str())));
    });
    EXPECT_THROW(Files::get_temp_directory(true), std::filesystem::filesystem_error);
    std::filesystem::create_directory("Temp");
    EXPECT_TRUE(std::filesystem::is_directory(Files::get_temp_directory(true)));
    EXPECT_EQ(Files::get_temp_directory(true), folder.path() / L"Temp" / L"corvel");
}
