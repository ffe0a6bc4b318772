#pragma once

#include "logger/statement_sink.h"
#include "winconv/owned.h"

#include <windows.h>

#include <memory>

namespace System {

using EventSource = WinConv::Owned<HANDLE, DeregisterEventSource>;

/// Writes every log statement as one record of the Windows event log under the source "corvel". The record has two
/// insertion strings: the statement with its file, line, function, logger and priority as NAME=VALUE fields, and the
/// statement alone. Errors of ReportEventW are ignored.
class WindowsEventSink : public Logger::StatementSink {
public:
    /// Registers the event source. Throws std::system_error with the Windows error on failure.
    WindowsEventSink();

    void write(const Logger::Statement& statement) override;

private:
    EventSource source_;
};

/// Returns the sink "windows" of the logging library, creating it if necessary. Throws what the constructor of
/// WindowsEventSink throws.
std::shared_ptr<quill::Sink> event_sink();

} // namespace System
