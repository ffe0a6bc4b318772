#pragma once

#include "logger/statement_sink.h"

#include <memory>
#include <string>

namespace Logger {

/// Keeps the messages of a logger in memory, one per line, so that a component can pass them on as one text. Captures
/// nothing until set_disabled(false) is called.
///
/// Only the logging back end writes to it: flush the logger before reading text(), and do not read while it may still
/// log.
class CaptureSink : public StatementSink {
public:
    CaptureSink();

    void set_disabled(bool disabled) {
        disabled_ = disabled;
    }

    /// Returns the captured messages in UTF-8, each followed by a line feed.
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
