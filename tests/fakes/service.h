#pragma once

#include "fakes/imports.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

namespace Fakes {

/// The agent service on a machine whose clock only moves when somebody sleeps. It shows the states in turn, the last
/// one for ever, and writes down what happens.
struct Service {
    struct Observed {
        DWORD state;
        DWORD wait_hint = 0;
    };
    std::deque<Observed> states;
    std::vector<std::string> calls;
    int open_handles = 0;
    DWORD now = 0xFFFFF000; // shortly before the tick counter wraps

    explicit Service(Replacements& replaced) {
        const auto open = [this](const char* what) {
            calls.emplace_back(what);
            ++open_handles;
            return reinterpret_cast<SC_HANDLE>(0x5c);
        };
        const auto called = [this](const char* what) {
            calls.emplace_back(what);
            return TRUE;
        };
        replaced.add(OpenSCManagerW, [=](auto, auto, DWORD rights) {
            return open(rights == SC_MANAGER_ALL_ACCESS ? "manager, all" : "manager, query");
        });
        replaced.add(OpenServiceW, [=](auto, LPCWSTR name, DWORD rights) {
            EXPECT_STREQ(name, L"corvel-tracker");
            return open(rights == SERVICE_ALL_ACCESS ? "service, all" : "service, query");
        });
        replaced.add(CloseServiceHandle, [this](auto) { return open_handles-- > 0 ? TRUE : FALSE; });
        replaced.add(QueryServiceStatus, [this](auto, LPSERVICE_STATUS status) {
            status->dwCurrentState = states.front().state;
            status->dwWaitHint = states.front().wait_hint;
            if (states.size() > 1) {
                states.pop_front();
            }
            return TRUE;
        });
        replaced.add(ControlService, [=](auto, DWORD control, auto) {
            return called(control == SERVICE_CONTROL_STOP ? "stop" : "control");
        });
        replaced.add(ChangeServiceConfig2W, [=](auto, DWORD level, LPVOID info) {
            EXPECT_EQ(level, static_cast<DWORD>(SERVICE_CONFIG_DELAYED_AUTO_START_INFO));
            const bool delayed = static_cast<SERVICE_DELAYED_AUTO_START_INFO*>(info)->fDelayedAutostart != 0;
            return called(delayed ? "delay" : "do not delay");
        });
        replaced.add(StartServiceW, [=](auto...) { return called("start"); });
        replaced.add(GetTickCount, [this] { return now; });
        replaced.add(Sleep, [this](DWORD milliseconds) {
            now += milliseconds;
            // The logging library sleeps as well, but not for long.
            if (milliseconds >= 100) {
                calls.push_back("sleep " + std::to_string(milliseconds));
            }
        });
    }
};

} // namespace Fakes
