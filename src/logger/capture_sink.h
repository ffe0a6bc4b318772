#pragma once

#include <quill/sinks/Sink.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Logger {

/// Keeps the messages of a logger in memory, one line each, so that a component can hand them over as one text.
/// Captures nothing until set_disabled(false).
///
/// Only the logging back end writes: flush the logger before reading text(), and do not read while it still logs.
class CaptureSink : public quill::Sink {
public:
    CaptureSink();

    void set_disabled(bool disabled) {
        disabled_ = disabled;
    }

    /// The captured messages in UTF-8, each followed by one line feed.
    const std::string& text() const {
        return buffer_;
    }

    void write_log(const quill::MacroMetadata* log_metadata, std::uint64_t log_timestamp, std::string_view thread_id,
                   std::string_view thread_name, const std::string& process_id, std::string_view logger_name,
                   quill::LogLevel log_level, std::string_view log_level_description,
                   std::string_view log_level_short_code,
                   const std::vector<std::pair<std::string, std::string>>* named_args, std::string_view log_message,
                   std::string_view log_statement) override;
    void flush_sink() override {}

private:
    std::string buffer_;
    bool disabled_ = true;
};

/// The capture sink of the logger `pkg_update`, set by init_loggers().
extern std::shared_ptr<CaptureSink> pkg_update_capture;

} // namespace Logger
