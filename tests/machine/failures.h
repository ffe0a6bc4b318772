#pragma once

#include "machine/machine.h"

/// A function of the system, and a way to make one of its calls fail while counting them.
struct Failure {
    const char* function;
    std::function<std::shared_ptr<void>(int which, int& calls)> install;

    friend void PrintTo(const Failure& failure, std::ostream* stream) {
        *stream << failure.function;
    }
};

/// Every function that tests let fail.
const std::vector<Failure>& failures();

/// What a command says when a call of a function fails, or if the function is null, without a failure.
struct Message {
    const char* function;
    int call;
    Lines arguments;
    std::string out, err;
    std::string log = ""; // a line of it
    std::string end = "";
    bool configured = true;
};

/// The commands run on a machine where one call fails.
class FailingMachine : public Machine {
protected:
    void expect_messages(const std::vector<Message>& messages);
};
