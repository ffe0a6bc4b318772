#include "support/recorded_log.h"

#include "logger/log.h"

#include <fmt/format.h>
#include <quill/Backend.h>
#include <quill/Frontend.h>
#include <quill/sinks/Sink.h>

#include <sstream>
#include <utility>

namespace RecordedLog {

namespace {

class Sink : public quill::Sink {
public:
    std::vector<std::string> statements;

    void write_log(const quill::MacroMetadata* metadata, std::uint64_t /*timestamp*/, std::string_view /*thread_id*/,
                   std::string_view /*thread_name*/, const std::string& /*process_id*/, std::string_view /*logger*/,
                   quill::LogLevel level, std::string_view /*level_description*/, std::string_view /*short_code*/,
                   const std::vector<std::pair<std::string, std::string>>* /*named_args*/, std::string_view message,
                   std::string_view /*statement*/) override {
        const auto name = Logger::level_name(static_cast<Logger::Level>(level));
        // One version of the library hands over a message of several lines at once, the other line by line.
        std::istringstream lines{std::string(message)};
        for (std::string line; std::getline(lines, line);) {
            statements.push_back(fmt::format("{} {}: {}", name, metadata->caller_function(), line));
        }
    }
    void flush_sink() override {}
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

std::vector<std::string> taken() {
    return sink == nullptr ? std::vector<std::string>() : std::exchange(sink->statements, {});
}

std::vector<std::string> take() {
    Logger::flush();
    return taken();
}

} // namespace RecordedLog
