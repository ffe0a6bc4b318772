// Each command, once for each call that it makes of each replaced function, which then fails: nothing else is lost, and
// nothing is lost in silence.

#include "machine/machine.h"

#include <set>

using namespace testing;

const std::map<std::string, Lines> commands = {{"first_set", set_tenant}, {"set", set_tenant}, {"create_support_bundle", create_support_bundle}, {"verify_release", verify_release}};

class EveryCall : public Machine, public WithParamInterface<std::tuple<std::pair<const std::string, Lines>, Failure>> {
protected:
    // What is missing or different: a member, a fact of the document, all that it says of the configuration file, the
    // document or the archive as a whole.
    static std::set<std::string> lost(const Facts& expected, const Facts& got) {
        std::vector<Facts::value_type> differing;
        std::ranges::set_difference(expected, got, std::back_inserter(differing));
        std::set<std::string> names;
        for (const auto& [name, value] : differing) {
            names.insert(expected.contains("archive") && !got.contains("archive")     ? "archive"
                         : name.starts_with("fact ") && !got.contains("fact os_name") ? "document"
                         : name.starts_with("fact cfgfile")                           ? "fact cfgfile"
                         : name.starts_with("windows_")                               ? "the logs of Windows' updates"
                                                                                      : name);
        }
        return names;
    }

    static void expect_the_rest(const Outcome& healthy, const Outcome& outcome) {
        std::set<std::string> names = lost(healthy.facts, outcome.facts);
        // Detection ends at a fatal failure. What it would have found later is lost with it, and the log says so.
        if (Value(outcome.log, Contains(HasSubstr("FATAL ERROR")))) {
            std::erase_if(names, [](const std::string& name) { return name.starts_with("fact ") && name != "fact cfgfile"; });
        }
        EXPECT_LE(names.size(), 1U) << difference(healthy.facts, outcome.facts);
        // A value that the registry or the environment lacks is as good as one that cannot be read.
        const std::string function = std::get<1>(GetParam()).function;
        const bool may_be_silent = function == "RegGetValueW" || function == "GetEnvironmentVariableW";
        const bool says_more = Value(outcome.log, Contains(AllOf(Not(StartsWith("info")), Not(AnyOfArray(healthy.log)))));
        EXPECT_TRUE(names.empty() || outcome.end != healthy.end || says_more || may_be_silent) << "lost in silence: " << fmt::format("{}", names);
    }
};

TEST_P(EveryCall, may_fail_alone_and_is_told) {
    const auto& [command, failing] = GetParam();
    const auto& [name, arguments] = command;
    const bool configured = name != "first_set";
    restore(configured);
    const Outcome healthy = run(arguments);
    EXPECT_EQ(healthy.end, "status 0");
    for (int which = 1, made = which; made >= which; ++which) {
        SCOPED_TRACE(fmt::format("call {}", which));
        restore(configured);
        made = 0;
        const Outcome outcome = run(arguments, [&, &failing = failing] { return failing.install(which, made); });
        const bool aborted = !outcome.end.starts_with("status ");
        EXPECT_TRUE(!aborted || outcome.end.starts_with("filesystem error: ") || outcome.end == "std::bad_alloc") << outcome.end;
        // A release is never trusted more than it was.
        const bool trusts = arguments == verify_release && outcome.out.find("success") != std::string::npos;
        EXPECT_TRUE(!trusts || outcome.out == healthy.out) << outcome.out;
        const auto archive = outcome.facts.find("archive");
        if (!aborted && outcome.err.empty() && (archive == outcome.facts.end() || archive->second == "complete")) { expect_the_rest(healthy, outcome); }
        EXPECT_TRUE(outcome.end != "status 0" || outcome.err.empty()) << outcome.err;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryCall, Combine(ValuesIn(commands), ValuesIn(failures())), [](const auto& each) { return std::get<0>(each.param).first + "_" + std::get<1>(each.param).function; });
