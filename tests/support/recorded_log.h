// Keeps what is logged, each line as "LEVEL FUNCTION: MESSAGE".
#pragma once

#include "logger/level.h"
#include "logger/log.h"
#include "logger/statement_sink.h"

#include <fmt/format.h>
#include <quill/Backend.h>
#include <quill/Frontend.h>

#include <sstream>
#include <utility>

namespace RecordedLog {

inline std::vector<std::string> lines;

class Sink : public Logger::StatementSink {
    void write(const Logger::Statement& statement) override {
        // One version of the library hands over a message of several lines at once, the other line by line.
        std::istringstream message{std::string(statement.message)};
        for (std::string line; std::getline(message, line);) {
            const auto level = Logger::level_name(static_cast<Logger::Level>(statement.level));
            lines.push_back(fmt::format("{} {}: {}", level, statement.metadata.caller_function(), line));
        }
    }
};

inline std::shared_ptr<quill::Sink> make_sink() { return quill::Frontend::create_or_get_sink<Sink>("recorded"); }

/// Makes every named logger one that writes here. Called once, before the first test.
inline void start() {
    quill::Backend::start();
    Logger::main = quill::Frontend::create_or_get_logger("main", make_sink());
    Logger::main->set_log_level(quill::LogLevel::TraceL3);
    Logger::dll = Logger::main;
}

/// Returns what was logged since the last call.
inline std::vector<std::string> take() {
    Logger::flush();
    return std::exchange(lines, {});
}

} // namespace RecordedLog
