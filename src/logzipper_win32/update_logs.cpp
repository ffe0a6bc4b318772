#include "logzipper_win32/update_logs.h"

#include "files/paths.h"
#include "logger/log.h"
#include "winconv/error_text.h"
#include "winconv/owned.h"

#include <windows.h>

namespace LogZipper {

namespace {

using ProcessHandle = WinConv::Owned<HANDLE, CloseHandle>;

// Starts PowerShell, by its name without a path, and returns its process. On failure, returns null and sets `error` to
// the Windows error.
ProcessHandle start_power_shell(const std::filesystem::path& log, DWORD& error) {
    // Removes the current folder from the search for the executable: other users may be able to write to it, and this
    // process is usually elevated.
    SetEnvironmentVariableW(L"NoDefaultCurrentDirectoryInExePath", L"1");
    std::wstring command = L"powershell.exe Get-WindowsUpdateLog -LogPath \"" + log.native() + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr, &startup,
                       &process) == 0) {
        error = GetLastError();
        return nullptr;
    }
    const ProcessHandle thread(process.hThread);
    return ProcessHandle(process.hProcess);
}

} // namespace

std::map<std::string, std::filesystem::path> zip_generate_os_update_logs() {
    const auto update_log = Files::get_user_temp_directory() / L"WindowsUpdate.log";
    DWORD error = ERROR_SUCCESS;
    const ProcessHandle process = start_power_shell(update_log, error);
    if (!process) {
        LOG_DEBUG(Logger::main, "failed to start powershell process error:{}", WinConv::format_error_code(error));
        return {};
    }
    if (WaitForSingleObject(process.get(), INFINITE) != WAIT_OBJECT_0) {
        LOG_DEBUG(Logger::main, "failed to wait for powershell process end error:{}", WinConv::last_error_text());
        return {};
    }
    const std::wstring windows = Files::get_windows_directory().native();
    return {
        {"windows_cbs.log", windows + L"\\Logs\\CBS\\CBS.log"},
        {"windows_reportingevents.log", windows + L"\\SoftwareDistribution\\ReportingEvents.log"},
        {"windows_update.log", update_log},
    };
}

} // namespace LogZipper
