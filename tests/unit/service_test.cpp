#include "fakes/imports.h"
#include "support/recorded_log.h"
#include "svcquery_win32/service.h"

#include <gmock/gmock.h>

#include <deque>
#include <span>

using testing::ElementsAre;
using testing::Not;

namespace {

const SC_HANDLE handle = reinterpret_cast<SC_HANDLE>(0x5c);

struct Observed {
    DWORD state;
    DWORD wait_hint = 0;
};

// The agent service on a machine whose clock only moves when somebody sleeps. It shows the states in turn, the last
// one for ever, and writes down what it is told.
class FakeService : public testing::Test {
protected:
    std::deque<Observed> states;
    std::vector<std::string> calls;
    std::vector<DWORD> sleeps;
    std::string failing; // the function that fails with "access denied"
    int open_handles = 0;
    DWORD now = 0xFFFFF000; // shortly before the tick counter wraps

    SC_HANDLE open(const char* name) {
        if (succeeds(name) == 0) {
            return nullptr;
        }
        ++open_handles;
        return handle;
    }
    BOOL succeeds(const char* name) {
        SetLastError(ERROR_ACCESS_DENIED);
        return failing == name ? FALSE : TRUE;
    }
    BOOL called(const char* name) {
        calls.emplace_back(name);
        return succeeds(name);
    }

    Fakes::Replacement<decltype(OpenSCManagerW)> manager_{
        Fakes::OpenSCManagerW, [this](LPCWSTR, LPCWSTR, DWORD rights) {
            calls.push_back(rights == SC_MANAGER_ALL_ACCESS ? "manager, all" : "manager, enumerate");
            return open("OpenSCManagerW");
        }};
    Fakes::Replacement<decltype(OpenServiceW)> service_{
        Fakes::OpenServiceW, [this](SC_HANDLE, LPCWSTR name, DWORD rights) {
            EXPECT_STREQ(name, L"corvel-tracker");
            calls.push_back(rights == SERVICE_ALL_ACCESS ? "service, all" : "service, query");
            return open("OpenServiceW");
        }};
    Fakes::Replacement<decltype(CloseServiceHandle)> close_{Fakes::CloseServiceHandle, [this](auto) {
                                                                --open_handles;
                                                                return TRUE;
                                                            }};
    Fakes::Replacement<decltype(QueryServiceStatus)> query_{Fakes::QueryServiceStatus,
                                                            [this](SC_HANDLE, LPSERVICE_STATUS status) {
                                                                status->dwCurrentState = states.front().state;
                                                                status->dwWaitHint = states.front().wait_hint;
                                                                if (states.size() > 1) {
                                                                    states.pop_front();
                                                                }
                                                                return succeeds("QueryServiceStatus");
                                                            }};
    Fakes::Replacement<decltype(ControlService)> control_{
        Fakes::ControlService, [this](SC_HANDLE, DWORD control, auto) {
            EXPECT_EQ(control, static_cast<DWORD>(SERVICE_CONTROL_STOP));
            return called("stop");
        }};
    Fakes::Replacement<decltype(ChangeServiceConfig2W)> change_{
        Fakes::ChangeServiceConfig2W, [this](SC_HANDLE, DWORD level, LPVOID info) {
            EXPECT_EQ(level, static_cast<DWORD>(SERVICE_CONFIG_DELAYED_AUTO_START_INFO));
            EXPECT_TRUE(static_cast<SERVICE_DELAYED_AUTO_START_INFO*>(info)->fDelayedAutostart);
            return called("delay");
        }};
    Fakes::Replacement<decltype(StartServiceW)> start_{Fakes::StartServiceW,
                                                       [this](auto...) { return called("start"); }};
    Fakes::Replacement<decltype(GetTickCount)> clock_{Fakes::GetTickCount, [this] { return now; }};
    Fakes::Replacement<decltype(Sleep)> sleep_{Fakes::Sleep, [this](DWORD milliseconds) {
                                                   sleeps.push_back(milliseconds);
                                                   now += milliseconds;
                                               }};

    void TearDown() override {
        EXPECT_EQ(open_handles, 0);
    }

    static std::string outcome(const Service::Result<>& result) {
        return result.has_value() ? "success" : result.error();
    }
};

TEST_F(FakeService, that_a_call_fails_on_says_which_and_why) {
    const std::string denied = "0x5 - Access denied.";
    const std::pair<const char*, std::string> cases[] = {
        {"OpenSCManagerW", "error opening service manager: " + denied},
        {"OpenServiceW", "error opening service manager on corvel service: " + denied},
        {"QueryServiceStatus", "error querying service manager for corvel service info: " + denied},
        {"stop", "error stopping corvel service: " + denied},
        {"start", "error starting corvel service: " + denied},
    };
    for (const auto& [function, text] : cases) {
        failing = function;
        calls.clear();
        states = {{SERVICE_START_PENDING}, {SERVICE_STOPPED}};
        EXPECT_EQ(outcome(Service::restart_corvel_service()), text);
        EXPECT_EQ(testing::Value(calls, testing::Contains("start")), failing == "start");
    }
    for (const auto& [function, text] : std::span(cases).first(3)) {
        failing = function;
        EXPECT_EQ(Service::query_corvel_service_status().error(), text);
    }
}

TEST_F(FakeService, that_cannot_be_delayed_is_restarted_all_the_same) {
    failing = "delay";
    states = {{SERVICE_STOPPED}, {SERVICE_RUNNING}};
    EXPECT_EQ(outcome(Service::restart_corvel_service()), "success");
    EXPECT_THAT(RecordedLog::take(), ElementsAre("error set_delayed_auto_start: error setting corvel service to "
                                                 "delayed auto start: 0x5 - Access denied."));
}

TEST_F(FakeService, stuck_in_a_change_of_state_times_out_after_30_seconds_and_is_not_started) {
    states = {{SERVICE_RUNNING}, {SERVICE_STOP_PENDING, 50000}};
    EXPECT_EQ(outcome(Service::restart_corvel_service()),
              "error timeout reached corvel service state change to SERVICE_STOPPED");
    EXPECT_THAT(sleeps, ElementsAre(5000, 5000, 5000, 5000, 5000, 5000, 5000)); // 30000 ms are not yet too many
    EXPECT_THAT(calls, Not(testing::Contains("start")));
}

TEST_F(FakeService, in_another_state_than_awaited_ends_the_wait) {
    states = {{SERVICE_STOPPED}, {SERVICE_START_PENDING}, {SERVICE_STOPPED}};
    EXPECT_EQ(outcome(Service::restart_corvel_service()),
              "error unexpected corvel service state:SERVICE_STOPPED expected:SERVICE_RUNNING");
    states = {{8}};
    EXPECT_EQ(outcome(Service::wait_for_service_state(handle, SERVICE_STOPPED, SERVICE_STOP_PENDING)),
              "error unexpected corvel service state:service_status_unknown expected:SERVICE_STOPPED");
}

TEST_F(FakeService, is_polled_every_tenth_of_its_wait_hint_between_1_and_10_seconds) {
    for (const auto& [hint, poll] :
         {std::pair(0UL, 1000UL), {9999UL, 1000UL}, {50009UL, 5000UL}, {200000UL, 10000UL}}) {
        sleeps.clear();
        states = {{SERVICE_START_PENDING, hint}, {SERVICE_RUNNING}};
        EXPECT_EQ(outcome(Service::wait_for_service_state(handle, SERVICE_RUNNING, SERVICE_START_PENDING)), "success");
        EXPECT_THAT(sleeps, ElementsAre(poll)) << hint;
    }
}

TEST_F(FakeService, status_asks_only_for_the_right_to_query) {
    for (const auto& [state, name] : {std::pair(0UL, "service_status_unknown"),
                                      {1UL, "SERVICE_STOPPED"},
                                      {5UL, "SERVICE_CONTINUE_PENDING"},
                                      {7UL, "SERVICE_PAUSED"},
                                      {8UL, "service_status_unknown"}}) {
        calls.clear();
        states = {{state}};
        EXPECT_EQ(Service::query_corvel_service_status().value(), name);
        EXPECT_THAT(calls, ElementsAre("manager, enumerate", "service, query"));
    }
}

} // namespace
