#include "machine/failures.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cerrno>

namespace {

template <typename Result, typename... Args>
Failure failure(const char* function, Fakes::Fake<Result(Args...)>& fake, std::type_identity_t<Result> result = {},
                DWORD error = ERROR_ACCESS_DENIED) {
    return {function, [=, &fake](int which, int& calls) {
                const auto broken = [=, &calls, healthy = fake](Args... args) -> Result {
                    if (++calls != which) {
                        return healthy(args...);
                    }
                    // What closes something closes it all the same.
                    if (error == ERROR_INVALID_HANDLE) {
                        healthy(args...);
                    }
                    errno = EIO;
                    SetLastError(error);
                    return result;
                };
                return Fakes::Replacement(fake, broken).end;
            }};
}

} // namespace

// clang-format off
#define FAILURE(function, ...) failure(#function, Fakes::function __VA_OPT__(, ) __VA_ARGS__),
const std::vector<Failure>& failures() {
    static const std::vector<Failure> all = {
        CORVEL_FAILING_IMPORTS(FAILURE)
        FAILURE(SHGetKnownFolderPath, E_FAIL) FAILURE(WinHttpCrackUrl)
        FAILURE(GetBestInterface, ERROR_NETWORK_UNREACHABLE) FAILURE(GetIpAddrTable, ERROR_ACCESS_DENIED)
        failure("ConnectServer", FakedWmi::connect_server, E_ACCESSDENIED),
        failure("ExecQuery", FakedWmi::exec_query, E_ACCESSDENIED),
        failure("Next", FakedWmi::next_row, E_ACCESSDENIED), failure("Get", FakedWmi::get_property, E_ACCESSDENIED),
    };
    return all;
}
// clang-format on

void FailingMachine::expect_messages(const std::vector<Message>& messages) {
    for (const Message& message : messages) {
        const std::string function = message.function == nullptr ? "nothing" : message.function;
        SCOPED_TRACE(fmt::format("{}: call {} of {}", fmt::join(message.arguments, " "), message.call, function));
        restore(message.configured);
        const auto failing = std::ranges::find(failures(), function, &Failure::function);
        ASSERT_TRUE(message.function == nullptr || failing != failures().end());
        int calls = 0;
        const Outcome outcome = run(message.arguments, [&] {
            return message.function == nullptr ? nullptr : failing->install(message.call, calls);
        });
        EXPECT_EQ(outcome.out, message.out);
        EXPECT_EQ(outcome.err, message.err);
        if (!message.log.empty()) {
            EXPECT_THAT(outcome.log, testing::Contains(message.log));
        }
        if (!message.end.empty()) {
            EXPECT_EQ(outcome.end, message.end);
        }
    }
}
