// A stand-in for the agent: the Windows service "corvel-tracker", which only changes its state, in the way that its
// command line asks for, and appends a line to the file --record for each control it gets and state it reaches. Started
// by hand, it leaves "not-a-service.txt" in the current folder.
//
//   --start-delay MS, --stop-delay MS   how long it is pending
//   --wait-hint MS                      what it reports meanwhile
//   --refuse-stop                       accepts no stop control
//   --stop-while-starting               stops instead of reaching the running state
//   --hold FILE                         keeps the file open, so that nobody replaces it
//   --fail-start                        ends before it has said anything to Windows

#include <windows.h>

#include <cstdio>
#include <map>
#include <string>

namespace {

std::wstring service_name = L"corvel-tracker";
std::map<std::wstring, std::wstring> options;
SERVICE_STATUS_HANDLE status_handle = nullptr;
HANDLE stop_event = nullptr;

DWORD milliseconds(const wchar_t* option) {
    return wcstoul(options[option].c_str(), nullptr, 10);
}

void record(const char* line) {
    if (std::FILE* file = _wfopen(options[L"--record"].c_str(), L"ab")) {
        std::fprintf(file, "%s\n", line);
        std::fclose(file);
    }
}

void report(DWORD state) {
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwWaitHint = milliseconds(L"--wait-hint");
    const bool takes_stop = state == SERVICE_RUNNING && !options.contains(L"--refuse-stop");
    status.dwControlsAccepted = takes_stop ? SERVICE_ACCEPT_STOP : 0;
    SetServiceStatus(status_handle, &status);
}

DWORD WINAPI handle_control(DWORD control, DWORD /*type*/, void* /*data*/, void* /*context*/) {
    if (control == SERVICE_CONTROL_STOP) {
        record("stop control");
        report(SERVICE_STOP_PENDING);
        SetEvent(stop_event);
    }
    return NO_ERROR;
}

void WINAPI run_service(DWORD /*count*/, wchar_t** /*arguments*/) {
    const DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
    CreateFileW(options[L"--hold"].c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
    status_handle = RegisterServiceCtrlHandlerExW(service_name.c_str(), handle_control, nullptr);
    report(SERVICE_START_PENDING);
    Sleep(milliseconds(L"--start-delay"));
    if (!options.contains(L"--stop-while-starting")) {
        record("running");
        report(SERVICE_RUNNING);
        WaitForSingleObject(stop_event, INFINITE);
        Sleep(milliseconds(L"--stop-delay"));
    }
    record("stopped");
    report(SERVICE_STOPPED);
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    for (int i = 1; i < count; ++i) {
        const bool has_value = i + 1 < count && arguments[i + 1][0] != L'-';
        options[arguments[i]] = has_value ? arguments[i + 1] : L"";
    }
    stop_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (options.contains(L"--fail-start") || stop_event == nullptr) {
        return 1;
    }
    const SERVICE_TABLE_ENTRYW table[] = {{service_name.data(), run_service}, {nullptr, nullptr}};
    if (StartServiceCtrlDispatcherW(table) == 0) {
        options.try_emplace(L"--record", L"not-a-service.txt");
        record("started by hand");
        return 1;
    }
    return 0;
}
