#include "logger/capture_sink.h"

#include <cstddef>

namespace Logger {

namespace {

constexpr std::size_t initial_capacity = 65536;

} // namespace

CaptureSink::CaptureSink() {
    buffer_.reserve(initial_capacity);
}

void CaptureSink::write_log(const quill::MacroMetadata* /*log_metadata*/, std::uint64_t /*log_timestamp*/,
                            std::string_view /*thread_id*/, std::string_view /*thread_name*/,
                            const std::string& /*process_id*/, std::string_view /*logger_name*/,
                            quill::LogLevel /*log_level*/, std::string_view /*log_level_description*/,
                            std::string_view /*log_level_short_code*/,
                            const std::vector<std::pair<std::string, std::string>>* /*named_args*/,
                            std::string_view log_message, std::string_view /*log_statement*/) {
    if (disabled_) {
        return;
    }
    buffer_ += log_message;
    buffer_ += '\n';
}

} // namespace Logger
