#include "machine/machine.h"

#include <cerrno>

namespace {

template <typename Result, typename... Args> Failure failure(Fakes::Fake<Result(Args...)>& fake, std::type_identity_t<Result> result = {}, DWORD error = ERROR_ACCESS_DENIED) {
    return {fake.name, [=, &fake](int which, int& calls) {
                const auto broken = [=, &calls, healthy = fake](Args... args) -> Result {
                    if (++calls != which) { return healthy(args...); }
                    // What closes something closes it all the same.
                    if (error == ERROR_INVALID_HANDLE) { healthy(args...); }
                    errno = EIO;
                    return Fakes::refuse(error, result);
                };
                return Fakes::Replacement(fake, broken).end;
            }};
}

} // namespace

// clang-format off
#define FAILURE(function, ...) failure(Fakes::function __VA_OPT__(, ) __VA_ARGS__),
const std::vector<Failure>& failures() {
    using namespace FakedWmi;
    static const std::vector<Failure> all = {
        CORVEL_FAILING_IMPORTS(FAILURE)
        FAILURE(SHGetKnownFolderPath, E_FAIL) FAILURE(WinHttpCrackUrl) FAILURE(GetBestInterface, ERROR_NETWORK_UNREACHABLE) FAILURE(GetIpAddrTable, ERROR_ACCESS_DENIED)
        failure(connect_server, E_ACCESSDENIED), failure(exec_query, E_ACCESSDENIED), failure(next_row, E_ACCESSDENIED), failure(get_property, E_ACCESSDENIED),
    };
    return all;
}
// clang-format on

void Machine::expect_messages(const Lines& arguments, const char* end, const std::vector<Message>& messages, bool configured) {
    for (const auto& [call, out, err, log] : messages) {
        SCOPED_TRACE(call);
        restore(configured);
        const auto failing = std::ranges::find(failures(), call.substr(0, call.find(' ')), &Failure::function);
        ASSERT_NE(failing, failures().end());
        int calls = 0;
        const Outcome outcome = run(arguments, [&, &call = call] { return failing->install(std::stoi(call.substr(call.find(' '))), calls); });
        EXPECT_EQ(outcome.out, out);
        EXPECT_EQ(outcome.err, err);
        EXPECT_EQ(outcome.end, end);
        if (!log.empty()) { EXPECT_THAT(outcome.log, testing::Contains(log)); }
    }
}
