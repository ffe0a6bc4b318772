// Each command, once for each call that it makes of each replaced function, which then fails: nothing else is lost, and
// nothing is lost in silence.

#include "machine/failures.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <set>

namespace {

struct Command {
    const char* name;
    Lines arguments;
    bool configured = true;

    friend void PrintTo(const Command& command, std::ostream* stream) {
        *stream << command.name;
    }
};

class EveryCall : public Machine, public testing::WithParamInterface<std::tuple<Command, Failure>> {
protected:
    // What is missing or different: a member, a fact of the document, all that it says of the configuration file, the
    // document or the archive as a whole.
    static std::set<std::string> lost(const Facts& expected, const Facts& got) {
        std::set<std::string> names;
        for (const auto& [name, value] : expected) {
            const auto found = got.find(name);
            if (found != got.end() && found->second == value) {
                continue;
            }
            if (expected.contains("archive") && !got.contains("archive")) {
                names.insert("archive");
            } else if (!name.starts_with("fact ")) {
                names.insert(name);
            } else if (!got.contains("fact os_name")) {
                names.insert("document");
            } else {
                names.insert(name.starts_with("fact cfgfile") ? "fact cfgfile" : name);
            }
        }
        return names;
    }
    static bool contains(const Lines& lines, std::string_view text) {
        return std::ranges::any_of(lines, [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }

    // Whether the log has a line that the healthy run's has not; how many bytes were written does not count.
    static bool says_more(const Lines& log, const Lines& healthy) {
        const auto without_numbers = [](std::string line) {
            std::erase_if(line, [](char letter) { return letter >= '0' && letter <= '9'; });
            return line;
        };
        std::set<std::string> known;
        std::ranges::transform(healthy, std::inserter(known, known.end()), without_numbers);
        return std::ranges::any_of(
            log, [&](const std::string& line) { return !known.contains(without_numbers(line)); });
    }

    void expect_the_rest(const Outcome& healthy, const Outcome& outcome) {
        const std::string function = std::get<1>(GetParam()).function;
        std::set<std::string> names = lost(healthy.facts, outcome.facts);
        // Detection ends at a fatal failure. What it would have found later is lost with it, and the log says so.
        if (contains(outcome.log, "FATAL ERROR")) {
            std::erase_if(names, [](const std::string& name) {
                return name.starts_with("fact ") && name != "fact cfgfile";
            });
        }
        EXPECT_LE(names.size(), 1U) << difference(healthy.facts, outcome.facts);
        // A value that the registry or the environment lacks is as good as one that cannot be read.
        const bool may_be_silent = function == "RegGetValueW" || function == "GetEnvironmentVariableW";
        const bool is_told = outcome.end != healthy.end || says_more(outcome.log, healthy.log);
        EXPECT_TRUE(names.empty() || is_told || may_be_silent) << "lost in silence: " << fmt::format("{}", names);
    }
};

TEST_P(EveryCall, may_fail_alone_and_is_told) {
    const auto& [command, failing] = GetParam();
    restore(command.configured);
    const Outcome healthy = run(command.arguments);
    EXPECT_EQ(healthy.end, "status 0");
    for (int which = 1, made = which; made >= which; ++which) {
        SCOPED_TRACE(fmt::format("call {}", which));
        restore(command.configured);
        made = 0;
        const auto install = [&, &failing = failing] { return failing.install(which, made); };
        const Outcome outcome = run(command.arguments, install);
        const bool aborted = !outcome.end.starts_with("status ");
        EXPECT_TRUE(!aborted || outcome.end.starts_with("filesystem error: ") || outcome.end == "std::bad_alloc")
            << outcome.end;
        // A release is never trusted more than it was.
        EXPECT_TRUE(outcome.out == healthy.out || outcome.out.find("success") == std::string::npos ||
                    command.arguments != verify_release)
            << outcome.out;
        const auto archive = outcome.facts.find("archive");
        if (!aborted && outcome.err.empty() && (archive == outcome.facts.end() || archive->second == "complete")) {
            expect_the_rest(healthy, outcome);
        }
        EXPECT_TRUE(outcome.end != "status 0" || outcome.err.empty()) << outcome.err;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryCall,
                         testing::Combine(testing::Values(Command{"first_set", set_tenant, false},
                                                          Command{"set", set_tenant},
                                                          Command{"create_support_bundle", create_support_bundle},
                                                          Command{"verify_release", verify_release}),
                                          testing::ValuesIn(failures())),
                         [](const auto& each) {
                             return fmt::format("{}_{}", std::get<0>(each.param).name, std::get<1>(each.param).function);
                         });

} // namespace
