#include "svcquery_win32/service.h"

#include "fakes/service.h"

#include <gmock/gmock.h>

#include <utility>

using testing::ElementsAre;
using testing::Not;

namespace {

class AgentService : public testing::Test {
protected:
    Fakes::Replacements replaced;
    Fakes::Service fake{replaced};

    void TearDown() override {
        EXPECT_EQ(fake.open_handles, 0);
    }
    std::string restart(std::deque<Fakes::Service::Observed> states) {
        fake.states = std::move(states);
        fake.calls.clear();
        fake.sleeps.clear();
        const auto result = Service::restart_corvel_service();
        return result.has_value() ? "success" : result.error().text;
    }
};

TEST_F(AgentService, is_stopped_only_from_where_it_can_be_and_delayed_before_it_is_started) {
    EXPECT_EQ(restart({{SERVICE_RUNNING}, {SERVICE_STOP_PENDING}, {SERVICE_STOPPED}, {SERVICE_RUNNING}}), "success");
    EXPECT_THAT(fake.calls, ElementsAre("manager, all", "service, all", "stop", "delay", "start"));
    EXPECT_EQ(restart({{SERVICE_STOP_PENDING}, {SERVICE_STOPPED}, {SERVICE_RUNNING}}), "success");
    EXPECT_THAT(fake.calls, ElementsAre("manager, all", "service, all", "delay", "start"));
    EXPECT_EQ(restart({{SERVICE_STOPPED}, {SERVICE_START_PENDING}, {SERVICE_RUNNING}}), "success");
    EXPECT_THAT(fake.calls, ElementsAre("manager, all", "service, all", "delay", "start"));
}

TEST_F(AgentService, stuck_in_a_change_of_state_times_out_after_30_seconds_and_is_not_started) {
    EXPECT_EQ(restart({{SERVICE_RUNNING}, {SERVICE_STOP_PENDING, 50000}}),
              "error timeout reached corvel service state change to SERVICE_STOPPED");
    EXPECT_THAT(fake.sleeps, ElementsAre(5000, 5000, 5000, 5000, 5000, 5000, 5000)); // 30000 ms are not yet too many
    EXPECT_THAT(fake.calls, Not(testing::Contains("start")));
}

TEST_F(AgentService, in_another_state_than_awaited_ends_the_wait) {
    EXPECT_EQ(restart({{SERVICE_STOPPED}, {SERVICE_START_PENDING}, {SERVICE_STOPPED}}),
              "error unexpected corvel service state:SERVICE_STOPPED expected:SERVICE_RUNNING");
    EXPECT_EQ(restart({{SERVICE_STOP_PENDING}, {8}}),
              "error unexpected corvel service state:service_status_unknown expected:SERVICE_STOPPED");
}

TEST_F(AgentService, is_polled_every_tenth_of_its_wait_hint_between_1_and_10_seconds) {
    for (const auto& [hint, poll] :
         {std::pair(0UL, 1000UL), {9999UL, 1000UL}, {50009UL, 5000UL}, {200000UL, 10000UL}}) {
        EXPECT_EQ(restart({{SERVICE_STOPPED}, {SERVICE_START_PENDING, hint}, {SERVICE_RUNNING}}), "success");
        EXPECT_THAT(fake.sleeps, ElementsAre(poll)) << hint;
    }
}

TEST_F(AgentService, status_asks_only_for_the_right_to_query) {
    for (const auto& [state, name] : {std::pair(0UL, "service_status_unknown"),
                                      {1UL, "SERVICE_STOPPED"},
                                      {5UL, "SERVICE_CONTINUE_PENDING"},
                                      {7UL, "SERVICE_PAUSED"},
                                      {8UL, "service_status_unknown"}}) {
        fake.calls.clear();
        fake.states = {{state}};
        EXPECT_EQ(Service::query_corvel_service_status().value(), name);
        EXPECT_THAT(fake.calls, ElementsAre("manager, query", "service, query"));
    }
}

} // namespace
