#include "fakes/imports.h"
#include "support/temporary_folder.h"
#include "system_win32/file_system.h"
#include "system_win32/paths.h"
#include "winconv/fatal_exception.h"

#include <gmock/gmock.h>

namespace {

// Calls `function` and returns the text of the CorvelFatalException that it throws.
template <typename Function>
std::string fatal_text(Function function) {
    try {
        function();
        return "nothing thrown";
    } catch (const WinConv::CorvelFatalException& fatal) {
        return fatal.text();
    }
}

TEST(Paths, of_the_configuration_is_in_the_program_data_folder) {
    EXPECT_EQ(System::get_config_file_path(), L"C:\\ProgramData\\corvel\\corvel.json");
    const Fakes::Replacement refuse(Fakes::SHGetKnownFolderPath, [](auto&&...) { return E_FAIL; });
    EXPECT_EQ(fatal_text(System::get_config_file_path), "FATAL ERROR: Could not resolve program data directory");
}

TEST(Paths, without_a_windows_directory_are_fatal) {
    const Fakes::Replacement refuse(Fakes::GetWindowsDirectoryW, [](auto...) -> UINT {
        SetLastError(ERROR_ACCESS_DENIED);
        return 0;
    });
    EXPECT_EQ(fatal_text([] { System::get_temp_directory(false); }),
              "FATAL ERROR: Could not resolve Windows directory : 0x5 - Access denied.");
}

TEST(ScratchFolder, is_created_once_but_not_its_parent) {
    const TemporaryFolder folder;
    const std::wstring windows = folder.path().native();
    const Fakes::Replacement directory(Fakes::GetWindowsDirectoryW, [&](LPWSTR buffer, UINT) {
        std::copy_n(windows.c_str(), windows.size() + 1, buffer);
        return static_cast<UINT>(windows.size());
    });
    EXPECT_EQ(System::get_temp_directory(false), folder.path() / L"Temp" / L"corvel");
    try {
        System::get_temp_directory(true);
        FAIL() << "created without its parent";
    } catch (const std::filesystem::filesystem_error& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("create_directory"));
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    }
    std::filesystem::create_directory(folder.path() / L"Temp");
    for (int run = 0; run < 2; ++run) {
        EXPECT_TRUE(std::filesystem::is_directory(System::get_temp_directory(true)));
    }
}

TEST(PathExists, takes_the_not_found_answers_for_no_and_throws_on_any_other) {
    for (const DWORD error : {2UL, 3UL, 53UL, 123UL, 267UL}) {
        const Fakes::Replacement query(Fakes::GetFileAttributesW, [error](auto) {
            SetLastError(error);
            return INVALID_FILE_ATTRIBUTES;
        });
        EXPECT_FALSE(System::path_exists(L"x")) << error;
    }
    const Fakes::Replacement query(Fakes::GetFileAttributesW, [](auto) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_FILE_ATTRIBUTES;
    });
    EXPECT_THROW(System::path_exists(L"x"), std::filesystem::filesystem_error);
}

TEST(CreateDirectories, makes_all_missing_parents_and_says_why_it_cannot) {
    const TemporaryFolder folder;
    const auto deep = folder.path() / L"a" / L"\u20ac" / L"c";
    EXPECT_FALSE(System::create_directories(deep));
    EXPECT_FALSE(System::create_directories(deep));
    EXPECT_TRUE(std::filesystem::is_directory(deep));
    put_file(folder.path() / L"file", "");
    EXPECT_EQ(System::create_directories(folder.path() / L"file" / L"x").value(), ERROR_ALREADY_EXISTS);
}

} // namespace
