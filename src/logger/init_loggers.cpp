#include "logger/init_loggers.h"

#include "logger/capture_sink.h"
#include "logger/internal/quill_compat.h"
#include "logger/log.h"

#include <quill/Backend.h>
#include <quill/Frontend.h>

#include <io.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Logger {

std::shared_ptr<CaptureSink> pkg_update_capture;

namespace {

struct LoggerRow {
    const char* name;
    quill::Logger** handle;
    std::shared_ptr<CaptureSink>* capture;
};

constexpr std::array<LoggerRow, 6> logger_table = {{
    {"api", &api, nullptr},
    {"comm", &comm, nullptr},
    {"dll", &dll, nullptr},
    {"main", &main, nullptr},
    {"pkg_report", &pkg_report, nullptr},
    {"pkg_update", &pkg_update, &pkg_update_capture},
}};

constexpr auto line_pattern =
    "%(time) [%(thread_id)] %(short_source_location:<28) LOG_%(log_level:<9) %(logger:<12) %(message)";
constexpr auto bare_pattern = "%(message)";
constexpr auto time_pattern = "%H:%M:%S.%Qns";

constexpr std::uint32_t backtrace_length = 5;

// Where log statements go and, if that is not the preferred sink, the reason.
struct Destination {
    std::shared_ptr<quill::Sink> sink;
    const char* pattern = line_pattern;
    std::optional<std::string> fall_back_reason;
};

quill::LogLevel quill_level(Level level) {
    return static_cast<quill::LogLevel>(std::min(level, Level::None));
}

// All other characters of an argument are replaced with \xNN before a sink receives the message.
bool is_printable(char character) {
    return (character >= ' ' && character <= '~') || character == '\n';
}

void start_backend() {
    quill::BackendOptions options;
    options.thread_name = "corvel logging";
    options.sleep_duration = std::chrono::milliseconds{300};
    // Set explicitly, because the library's defaults differ between its versions.
    options.enable_yield_when_idle = false;
    options.transit_event_buffer_initial_capacity = 128;
    options.transit_events_soft_limit = 4096;
    options.transit_events_hard_limit = 32768;
    options.log_timestamp_ordering_grace_period = std::chrono::microseconds{1};
    options.wait_for_queues_to_empty_before_exit = true;
    options.rdtsc_resync_interval = std::chrono::milliseconds{500};
    options.check_printable_char = is_printable;
    QuillCompat::allow_other_backends(options);
    quill::Backend::start(options);
}

Destination choose_destination(bool colours, const SinkMaker& make_preferred_sink) {
    Destination destination;
    destination.sink = QuillCompat::terminal_sink(colours);
    if (_isatty(_fileno(stdout)) != 0) {
        return destination;
    }
    try {
        destination.sink = make_preferred_sink();
        destination.pattern = bare_pattern;
    } catch (const std::exception& error) {
        destination.fall_back_reason = error.what();
        try {
            // If the name is a link, the log would be written to the link's target.
            DeleteFileW(L"corvel.log");
            destination.sink = QuillCompat::rotating_file_sink("corvel.log");
        } catch (const std::exception& file_error) {
            // A folder that cannot be written to must not prevent the command from running: standard output remains the
            // sink.
            *destination.fall_back_reason += "; ";
            *destination.fall_back_reason += file_error.what();
        }
    }
    return destination;
}

void create_logger(const LoggerRow& row, const Destination& destination) {
    std::vector<std::shared_ptr<quill::Sink>> sinks{destination.sink};
    if (row.capture != nullptr) {
        const auto capture = quill::Frontend::create_or_get_sink<CaptureSink>("pkg_update_capture");
        capture->set_log_level_filter(quill::LogLevel::Debug);
        *row.capture = std::static_pointer_cast<CaptureSink>(capture);
        sinks.push_back(capture);
    }
    const quill::PatternFormatterOptions format{destination.pattern, time_pattern, quill::Timezone::LocalTime};
    // The time-stamp-counter clock has to be calibrated first, which would take most of a short run.
    *row.handle =
        quill::Frontend::create_or_get_logger(row.name, std::move(sinks), format, quill::ClockSourceType::System);
    (*row.handle)->init_backtrace(backtrace_length, quill::LogLevel::Critical);
}

void apply_level(quill::Logger& logger, Level level) {
    const auto& sinks = logger.get_sinks();
    if (sinks.size() == 1) {
        logger.set_log_level(quill_level(level));
        return;
    }
    // The capture sink receives Debug and above, whatever the level of the other sinks.
    logger.set_log_level(quill_level(std::min(level, Level::Debug)));
    for (const auto& sink : sinks) {
        if (dynamic_cast<const CaptureSink*>(sink.get()) == nullptr) {
            sink->set_log_level_filter(quill_level(level));
        }
    }
}

void apply_levels(const LogLevelConfig& config) {
    for (auto* logger : quill::Frontend::get_all_loggers()) {
        if (!logger->is_valid_logger()) {
            continue;
        }
        const auto entry = config.logger_levels.find(logger->get_logger_name());
        apply_level(*logger, entry == config.logger_levels.end() ? config.default_level : entry->second);
    }
}

} // namespace

void init_loggers(const LogLevelConfig& config, bool colours, const SinkMaker& make_preferred_sink) {
    start_backend();
    const Destination destination = choose_destination(colours, make_preferred_sink);
    for (const auto& row : logger_table) {
        create_logger(row, destination);
    }
    apply_levels(config);
    if (destination.fall_back_reason) {
        LOG_INFO(main, "Failed to use preferred logging method: {}", *destination.fall_back_reason);
    }
}

void stop_logging() {
    quill::Backend::stop();
}

} // namespace Logger
