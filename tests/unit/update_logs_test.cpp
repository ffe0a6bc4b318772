#include "logzipper_win32/update_logs.h"

#include "fakes/imports.h"
#include "support/environment.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

using LogZipper::zip_generate_os_update_logs;
using testing::ElementsAre;
using testing::Pair;

namespace {

TEST(UpdateLogs, are_what_power_shell_writes_into_a_folder_until_it_ends_and_what_windows_keeps) {
    const TemporaryFolder folder;
    const EnvironmentVariable current_folder(L"NoDefaultCurrentDirectoryInExePath", nullptr);
    std::wstring command;
    HANDLE process = nullptr;
    Fakes::Replacements replaced;
    replaced.add(Fakes::SHGetKnownFolderPath, [](auto&&...) { return E_FAIL; });
    replaced.add(Fakes::CreateProcessW, [&](LPCWSTR application, LPWSTR line, auto, auto, BOOL inherit, DWORD flags,
                                            auto, auto, auto, PROCESS_INFORMATION* started) {
        EXPECT_TRUE(application == nullptr && inherit == FALSE && flags == 0x08000000);
        wchar_t no_current_folder[2]{};
        EXPECT_EQ(GetEnvironmentVariableW(L"NoDefaultCurrentDirectoryInExePath", no_current_folder, 2), 1U);
        command = line;
        process = started->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        started->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        return TRUE;
    });
    // Only the wait for the process is looked at: the logging library waits as well.
    replaced.add(Fakes::WaitForSingleObject, [&](HANDLE object, DWORD milliseconds) {
        EXPECT_TRUE(object != process || milliseconds == INFINITE);
        return (*Fakes::WaitForSingleObject.original)(object, milliseconds);
    });
    put_file(folder.path() / L"file", "");
    for (const wchar_t* const name : {L"file", L"missing", L"quoted\" -Command \""}) {
        const EnvironmentVariable temporary(L"TMP", (folder.path() / name).c_str());
        EXPECT_THROW(zip_generate_os_update_logs(), std::filesystem::filesystem_error);
        EXPECT_EQ(command, L"");
    }
    const auto spaced = folder.path() / L"a b";
    std::filesystem::create_directory(spaced);
    const EnvironmentVariable temporary(L"TMP", spaced.c_str());
    EXPECT_THAT(
        zip_generate_os_update_logs(),
        ElementsAre(Pair("windows_cbs.log", L"c:\\Windows\\Logs\\CBS\\CBS.log"),
                    Pair("windows_reportingevents.log", L"c:\\Windows\\SoftwareDistribution\\ReportingEvents.log"),
                    Pair("windows_update.log", spaced / L"WindowsUpdate.log")));
    EXPECT_EQ(command, L"powershell.exe Get-WindowsUpdateLog -LogPath \"" + spaced.native() + L"\\WindowsUpdate.log\"");
}

} // namespace
