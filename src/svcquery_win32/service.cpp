#include "svcquery_win32/service.h"

#include "logger/log.h"
#include "winconv/error_text.h"
#include "winconv/owned.h"

#include <fmt/format.h>

#include <windows.h>

#include <algorithm>
#include <array>

namespace Service {

using WinConv::Error;
using WinConv::Result;

namespace {

constexpr auto service_name = L"corvel-tracker";

constexpr DWORD wait_limit_ms = 30000;
constexpr DWORD least_poll_ms = 1000;
constexpr DWORD longest_poll_ms = 10000;

using ServiceHandle = WinConv::Owned<SC_HANDLE, CloseServiceHandle>;

// Handles of the agent service and of the service control manager.
struct AgentService {
    ServiceHandle manager;
    ServiceHandle service;
};

Result<AgentService> open_corvel_service(DWORD manager_rights, DWORD service_rights) {
    AgentService opened;
    opened.manager.reset(OpenSCManagerW(nullptr, SERVICES_ACTIVE_DATABASEW, manager_rights));
    if (!opened.manager) {
        return Error{"error opening service manager: " + WinConv::last_error_text()};
    }
    opened.service.reset(OpenServiceW(opened.manager.get(), service_name, service_rights));
    if (!opened.service) {
        return Error{"error opening service manager on corvel service: " + WinConv::last_error_text()};
    }
    return opened;
}

Result<SERVICE_STATUS> query_status(SC_HANDLE service) {
    SERVICE_STATUS status{};
    if (QueryServiceStatus(service, &status) == 0) {
        return Error{"error querying service manager for corvel service info: " + WinConv::last_error_text()};
    }
    return status;
}

const char* service_state_name(DWORD state) {
    constexpr std::array names = {
        "SERVICE_STOPPED",          "SERVICE_START_PENDING", "SERVICE_STOP_PENDING", "SERVICE_RUNNING",
        "SERVICE_CONTINUE_PENDING", "SERVICE_PAUSE_PENDING", "SERVICE_PAUSED",
    };
    return state >= SERVICE_STOPPED && state <= names.size() ? names[state - SERVICE_STOPPED]
                                                             : "service_status_unknown";
}

// Waits up to 30 seconds until the service is in the state `expected`. Any state other than `pending` in the meantime
// is an error.
Result<> wait_for_service_state(SC_HANDLE service, DWORD expected, DWORD pending) {
    const DWORD start = GetTickCount();
    for (;;) {
        const auto status = query_status(service);
        if (!status.has_value()) {
            return status.error();
        }
        const DWORD state = status.value().dwCurrentState;
        if (state == expected) {
            return {};
        }
        if (state != pending) {
            return Error{fmt::format("error unexpected corvel service state:{0} expected:{1}",
                                     service_state_name(state), service_state_name(expected))};
        }
        // Unsigned subtraction stays correct when the tick count wraps around.
        if (GetTickCount() - start > wait_limit_ms) {
            return Error{
                fmt::format("error timeout reached corvel service state change to {}", service_state_name(expected))};
        }
        Sleep(std::clamp(status.value().dwWaitHint / 10, least_poll_ms, longest_poll_ms));
    }
}

Result<> stop(SC_HANDLE service) {
    const auto status = query_status(service);
    if (!status.has_value()) {
        return status.error();
    }
    if (status.value().dwCurrentState == SERVICE_STOPPED) {
        return {};
    }
    if (status.value().dwCurrentState != SERVICE_STOP_PENDING) {
        SERVICE_STATUS after{};
        if (ControlService(service, SERVICE_CONTROL_STOP, &after) == 0) {
            return Error{"error stopping corvel service: " + WinConv::last_error_text()};
        }
    }
    return wait_for_service_state(service, SERVICE_STOPPED, SERVICE_STOP_PENDING);
}

} // namespace

Result<std::string> query_corvel_service_status() {
    const auto opened = open_corvel_service(SC_MANAGER_ENUMERATE_SERVICE, SERVICE_QUERY_STATUS);
    if (!opened.has_value()) {
        return opened.error();
    }
    const auto status = query_status(opened.value().service.get());
    if (!status.has_value()) {
        return status.error();
    }
    return std::string(service_state_name(status.value().dwCurrentState));
}

Result<> restart_corvel_service() {
    const auto opened = open_corvel_service(SC_MANAGER_ALL_ACCESS, SERVICE_ALL_ACCESS);
    if (!opened.has_value()) {
        return opened.error();
    }
    SC_HANDLE service = opened.value().service.get();
    if (auto stopped = stop(service); !stopped.has_value()) {
        return stopped;
    }
    SERVICE_DELAYED_AUTO_START_INFO delayed{TRUE};
    if (ChangeServiceConfig2W(service, SERVICE_CONFIG_DELAYED_AUTO_START_INFO, &delayed) == 0) {
        LOG_ERROR(Logger::main, "error setting corvel service to delayed auto start: {}", WinConv::last_error_text());
    }
    if (StartServiceW(service, 0, nullptr) == 0) {
        return Error{"error starting corvel service: " + WinConv::last_error_text()};
    }
    return wait_for_service_state(service, SERVICE_RUNNING, SERVICE_START_PENDING);
}

} // namespace Service
