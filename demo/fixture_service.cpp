// A stand-in for the agent: the Windows service "corvel-tracker". It changes only its own state. If its command line
// names a file, it appends a line to the file for each control that it receives and each state that it reaches.

#include <windows.h>

#include <share.h>

#include <cstdio>

namespace {

wchar_t service_name[] = L"corvel-tracker";
const wchar_t* record_file = L"";
SERVICE_STATUS_HANDLE status_handle = nullptr;
HANDLE stop_event = nullptr;

void record(const char* line) {
    if (std::FILE* file = _wfsopen(record_file, L"ab", _SH_DENYNO)) {
        std::fprintf(file, "%s\n", line);
        std::fclose(file);
    }
}

void report(DWORD state) {
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
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
    stop_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    status_handle = RegisterServiceCtrlHandlerExW(service_name, handle_control, nullptr);
    report(SERVICE_START_PENDING);
    record("running");
    report(SERVICE_RUNNING);
    WaitForSingleObject(stop_event, INFINITE);
    record("stopped");
    report(SERVICE_STOPPED);
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    record_file = count > 1 ? arguments[1] : record_file;
    const SERVICE_TABLE_ENTRYW table[] = {{service_name, run_service}, {nullptr, nullptr}};
    const BOOL served = StartServiceCtrlDispatcherW(table);
    // Under Wine, the reply to a control is lost if the process ends before it is sent.
    Sleep(50);
    return served != 0 ? 0 : 1;
}
