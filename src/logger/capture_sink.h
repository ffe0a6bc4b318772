#pragma once

#include "logger/statement_sink.h"

#include <memory>
#include <string>

namespace Logger {

/// Keeps the messages of a logger in memory, one line each, so that a component can hand them over as one text.
/// Captures nothing until set_disabled(false).
///
/// Only the logging back end writes: flush the logger before reading text(), and do not read while it still logs.
class CaptureSink : public StatementSink {
public:
    CaptureSink();

    void set_disabled(bool disabled) {
        disabled_ = disabled;
    }

    /// The captured messages in UTF-8, each followed by one line feed.
    const std::string& text() const {
        return buffer_;
    }

    void write(const Statement& statement) override;

private:
    std::string buffer_;
    bool disabled_ = true;
};

/// The capture sink of the logger `pkg_update`, set by init_loggers().
extern std::shared_ptr<CaptureSink> pkg_update_capture;

} // namespace Logger
