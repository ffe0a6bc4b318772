#include "fakes/imports.h"
#include "logzipper_win32/log_zipper.h"
#include "support/recorded_log.h"
#include "support/temporary_folder.h"
#include "supportbundle/zip.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

using testing::ElementsAre;

namespace {

TEST(ZipErrors, are_named_in_quotes) {
    EXPECT_EQ(SupportBundle::mz_error_name(0), "\"MZ_OK\"");
    EXPECT_EQ(SupportBundle::mz_error_name(-111), "\"MZ_OPEN_ERROR\"");
    EXPECT_EQ(SupportBundle::mz_error_name(-2), "\"unknown\"");
}

TEST(WriteZip, runs_every_producer_behind_a_failed_one_but_none_without_an_archive) {
    const TemporaryFolder folder;
    std::string ran;
    const std::vector<SupportBundle::MemberProducer> producers = {
        [&](void*) {
            ran += "a";
            return true;
        },
        [&](void*) {
            ran += "b";
            return false;
        },
        [&](void* writer) {
            ran += "c";
            return SupportBundle::zip_add_text(writer, SupportBundle::entry_header("c", 0), "") == MZ_OK;
        },
    };
    EXPECT_FALSE(SupportBundle::write_zip(folder.path() / L"\u20ac.zip", producers));
    EXPECT_EQ(ran, "abc");
    EXPECT_THAT(folder.names(), ElementsAre(L"\u20ac.zip"));
    EXPECT_THAT(RecordedLog::take(), testing::IsEmpty());

    ran.clear();
    testing::internal::CaptureStdout();
    std::filesystem::create_directory(folder.path() / L"folder");
    EXPECT_FALSE(SupportBundle::write_zip(folder.path() / L"folder", producers));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Please try operation again using administrator-level permissions.\n");
    EXPECT_EQ(ran, "");
    EXPECT_THAT(RecordedLog::take(),
                ElementsAre(testing::MatchesRegex(
                    "critical write_zip: failed to open zip_writer on file at .*folder with err \"MZ_OPEN_ERROR\"")));
}

TEST(ZipAddFile, skips_what_is_absent_and_fails_on_what_is_locked) {
    const TemporaryFolder folder;
    const auto locked = folder.path() / L"locked.log";
    put_file(locked, "x");
    HANDLE lock = CreateFileW(locked.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const auto add = [](const std::filesystem::path& file) {
        return [=](void* writer) { return SupportBundle::zip_add_file(writer, file, "member"); };
    };
    EXPECT_TRUE(SupportBundle::write_zip(folder.path() / L"a.zip", {add(folder.path() / L"absent.log")}));
    EXPECT_FALSE(SupportBundle::write_zip(folder.path() / L"a.zip", {add(locked)}));
    CloseHandle(lock);
    EXPECT_THAT(RecordedLog::take(),
                ElementsAre("debug zip_add_file: file does not exist: " + (folder.path() / L"absent.log").string(),
                            "error zip_add_file: mz error adding file member to zip: \"MZ_OPEN_ERROR\""));
}

TEST(WriteZip, without_space_fails_and_says_so) {
    const TemporaryFolder folder;
    std::mt19937 random(1);
    std::string noise(1U << 20U, '\0');
    std::ranges::generate(noise, [&] { return static_cast<char>(random()); });
    put_file(folder.path() / L"noise", noise);
    const Fakes::Replacement full(Fakes::WriteFile, [](auto...) {
        SetLastError(ERROR_DISK_FULL);
        return FALSE;
    });
    const auto add = [&](void* writer) { return SupportBundle::zip_add_file(writer, folder.path() / L"noise", "n"); };
    EXPECT_FALSE(SupportBundle::write_zip(folder.path() / L"a.zip", {add, add}));
    EXPECT_THAT(RecordedLog::take(),
                testing::Each(testing::StartsWith("error zip_add_file: mz error adding file n to zip: \"MZ_")));
}

TEST(UpdateLogs, are_what_power_shell_has_written_and_what_windows_keeps) {
    SetEnvironmentVariableW(L"TMP", L"C:\\a b");
    const Fakes::Replacement folder(Fakes::SHGetKnownFolderPath, [](auto&&...) { return E_FAIL; });
    std::wstring command;
    const Fakes::Replacement start(Fakes::CreateProcessW, [&](LPCWSTR application, LPWSTR line, auto, auto,
                                                              BOOL inherit, DWORD flags, auto, auto, auto,
                                                              PROCESS_INFORMATION* process) {
        EXPECT_TRUE(application == nullptr && inherit == FALSE && flags == 0x08000000);
        wchar_t no_current_folder[2]{};
        EXPECT_EQ(GetEnvironmentVariableW(L"NoDefaultCurrentDirectoryInExePath", no_current_folder, 2), 1U);
        command = line;
        process->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        process->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
        return TRUE;
    });
    EXPECT_THAT(LogZipper::zip_generate_os_update_logs(),
                ElementsAre(testing::Pair("windows_cbs.log", L"c:\\Windows\\Logs\\CBS\\CBS.log"),
                            testing::Pair("windows_reportingevents.log",
                                          L"c:\\Windows\\SoftwareDistribution\\ReportingEvents.log"),
                            testing::Pair("windows_update.log", L"C:\\a b\\WindowsUpdate.log")));
    EXPECT_EQ(command, L"powershell.exe Get-WindowsUpdateLog -LogPath \"C:\\a b\\WindowsUpdate.log\"");
    const Fakes::Replacement wait(Fakes::WaitForSingleObject, [](auto...) -> DWORD {
        SetLastError(ERROR_ACCESS_DENIED);
        return WAIT_FAILED;
    });
    EXPECT_THAT(LogZipper::zip_generate_os_update_logs(), testing::IsEmpty());
    const Fakes::Replacement refuse(Fakes::CreateProcessW, [](auto...) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return FALSE;
    });
    EXPECT_THAT(LogZipper::zip_generate_os_update_logs(), testing::IsEmpty());
    EXPECT_THAT(RecordedLog::take(),
                ElementsAre("debug zip_generate_os_update_logs: failed to wait for powershell process end error:0x5 - "
                            "Access denied.",
                            testing::HasSubstr("failed to start powershell process error:0x2 - ")));
}

} // namespace
