#include "files/file_system.h"

#include "support/unit_test.h"

TEST(PathExists, takes_the_not_found_answers_for_no_and_throws_on_any_other) {
    const std::wstring long_path = L"C:\\" + std::wstring(244, L'x'); // the shortest that is too long
    DWORD error = 0;
    const Fakes::Replacement query(Fakes::GetFileAttributesW, [&](LPCWSTR path) {
        EXPECT_EQ(path, L"\\\\?\\" + long_path);
        return Fakes::refuse(error, INVALID_FILE_ATTRIBUTES);
    });
    for (const DWORD not_found : {2UL, 3UL, 53UL, 123UL, 267UL}) { EXPECT_FALSE((error = not_found, Files::path_exists(long_path))) << error; }
    error = ERROR_ACCESS_DENIED;
    EXPECT_THROW(Files::path_exists(long_path), std::filesystem::filesystem_error);
}

TEST(CreateDirectories, makes_all_missing_parents_and_lets_users_only_read_the_folder_itself) {
    const TemporaryFolder folder;
    std::vector<std::wstring> rights;
    const Fakes::Replacement create(Fakes::CreateDirectoryW, [&](LPCWSTR path, LPSECURITY_ATTRIBUTES security) {
        LPWSTR text = nullptr;
        if (security != nullptr) { ConvertSecurityDescriptorToStringSecurityDescriptorW(security->lpSecurityDescriptor, 1, DACL_SECURITY_INFORMATION, &text, nullptr); }
        rights.emplace_back(text == nullptr ? L"" : text);
        LocalFree(text);
        (*Fakes::CreateDirectoryW.original)(path, security);
        return Fakes::refuse(ERROR_ALREADY_EXISTS, FALSE); // as if another process had been faster
    });
    const auto deep = folder.path / L"\u20ac" / L"corvel";
    EXPECT_FALSE(Files::create_directories(deep));
    EXPECT_FALSE(Files::create_directories(deep));
    EXPECT_THAT(rights, testing::ElementsAre(L"", L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FA;;;OW)(A;OICI;0x1200a9;;;BU)"));
    put_file(deep / L"file", "x");
    EXPECT_EQ(Files::create_directories(deep / L"file" / L"x").value(), ERROR_ALREADY_EXISTS);
}
