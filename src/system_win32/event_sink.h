#pragma once

#include "logger/statement_sink.h"
#include "winconv/owned.h"

#include <windows.h>

#include <memory>

namespace System {

using EventSource = WinConv::Owned<HANDLE, DeregisterEventSource>;

/// Writes every log statement as one record of the Windows event log under the source "corvel". The record has two
/// insertion strings: the statement with its file, line, function, logger and priority as NAME=VALUE fields, and the
/// statement alone. A record that Windows refuses is lost.
class WindowsEventSink : public Logger::StatementSink {
public:
    /// Registers the event source; throws std::system_error with the Windows error if that fails.
    WindowsEventSink();

    void write(const Logger::Statement& statement) override;

private:
    EventSource source_;
};

/// Gets or creates the logging library's sink "windows", a WindowsEventSink; throws as its constructor does.
std::shared_ptr<quill::Sink> event_sink();

} // namespace System
