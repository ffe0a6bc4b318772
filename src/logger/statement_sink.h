#pragma once

#include <quill/sinks/Sink.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Logger {

/// A log statement as it is passed to a sink. Strings are UTF-8 and valid only during the call.
struct Statement {
    const quill::MacroMetadata& metadata;
    std::string_view logger;
    quill::LogLevel level;
    std::string_view message; ///< the formatted message, without the pattern
    std::string_view line;    ///< the line that the pattern produces, with its line feed
};

/// A sink that receives each statement as one value instead of the library's twelve parameters. Only the thread of the
/// logging back end calls it.
class StatementSink : public quill::Sink {
public:
    void write_log(const quill::MacroMetadata* log_metadata, std::uint64_t /*log_timestamp*/,
                   std::string_view /*thread_id*/, std::string_view /*thread_name*/, const std::string& /*process_id*/,
                   std::string_view logger_name, quill::LogLevel log_level, std::string_view /*log_level_description*/,
                   std::string_view /*log_level_short_code*/,
                   const std::vector<std::pair<std::string, std::string>>* /*named_args*/, std::string_view log_message,
                   std::string_view log_statement) final {
        write({*log_metadata, logger_name, log_level, log_message, log_statement});
    }
    void flush_sink() final {}

    virtual void write(const Statement& statement) = 0;
};

} // namespace Logger
