#pragma once

#include "fakes/imports.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

namespace Fakes {

/// The agent service on a machine whose clock only moves when somebody sleeps. It shows the states in turn, the last
/// one for ever, and writes down what it is told.
struct Service {
    struct Observed {
        DWORD state;
        DWORD wait_hint = 0;
    };
    std::deque<Observed> states;
    std::vector<std::string> calls;
    std::vector<DWORD> sleeps;
    int open_handles = 0;
    DWORD now = 0xFFFFF000; // shortly before the tick counter wraps

    explicit Service(Replacements& replaced) {
        const auto open = [this](const char* what, bool all) {
            calls.push_back(std::string(what) + (all ? ", all" : ", query"));
            ++open_handles;
            return reinterpret_cast<SC_HANDLE>(0x5c);
        };
        replaced.add(OpenSCManagerW,
                     [=](auto, auto, DWORD rights) { return open("manager", rights == SC_MANAGER_ALL_ACCESS); });
        replaced.add(OpenServiceW, [=](auto, LPCWSTR name, DWORD rights) {
            EXPECT_STREQ(name, L"corvel-tracker");
            return open("service", rights == SERVICE_ALL_ACCESS);
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
        replaced.add(ControlService, [this](auto, DWORD control, auto) {
            EXPECT_EQ(control, static_cast<DWORD>(SERVICE_CONTROL_STOP));
            return called("stop");
        });
        replaced.add(ChangeServiceConfig2W, [this](auto, DWORD level, LPVOID info) {
            EXPECT_EQ(level, static_cast<DWORD>(SERVICE_CONFIG_DELAYED_AUTO_START_INFO));
            EXPECT_TRUE(static_cast<SERVICE_DELAYED_AUTO_START_INFO*>(info)->fDelayedAutostart);
            return called("delay");
        });
        replaced.add(StartServiceW, [this](auto...) { return called("start"); });
        replaced.add(GetTickCount, [this] { return now; });
        replaced.add(Sleep, [this](DWORD milliseconds) {
            sleeps.push_back(milliseconds);
            now += milliseconds;
        });
    }

private:
    BOOL called(const char* what) {
        calls.emplace_back(what);
        return TRUE;
    }
};

} // namespace Fakes
