#include "support/recorded_log.h"

#include "logger/log.h"
#include "logger/statement_sink.h"

#include <fmt/format.h>
#include <quill/Backend.h>
#include <quill/Frontend.h>

#include <sstream>
#include <utility>

namespace RecordedLog {

namespace {

class Sink : public Logger::StatementSink {
public:
    std::vector<std::string> statements;

    void write(const Logger::Statement& statement) override {
        const auto name = Logger::level_name(static_cast<Logger::Level>(statement.level));
        // One version of the library hands over a message of several lines at once, the other line by line.
        std::istringstream lines{std::string(statement.message)};
        for (std::string line; std::getline(lines, line);) {
            statements.push_back(fmt::format("{} {}: {}", name, statement.metadata.caller_function(), line));
        }
    }
};

std::shared_ptr<Sink> sink;

} // namespace

std::shared_ptr<quill::Sink> make_sink() {
    sink = std::static_pointer_cast<Sink>(quill::Frontend::create_or_get_sink<Sink>("recorded"));
    return sink;
}

void start() {
    quill::Backend::start();
    Logger::main = quill::Frontend::create_or_get_logger("main", make_sink());
    Logger::main->set_log_level(quill::LogLevel::TraceL3);
    Logger::dll = Logger::main;
}

std::vector<std::string> taken() { return sink == nullptr ? std::vector<std::string>() : std::exchange(sink->statements, {}); }

std::vector<std::string> take() {
    Logger::flush();
    return taken();
}

} // namespace RecordedLog
