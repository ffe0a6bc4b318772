#pragma once

#include "winconv/owned.h"

#include <quill/sinks/Sink.h>

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace System {

using EventSource = WinConv::Owned<HANDLE, DeregisterEventSource>;

/// Writes every log statement as one record of the Windows event log under the source "corvel". The record has two
/// insertion strings: the statement with its file, line, function, logger and priority as NAME=VALUE fields, and the
/// statement alone. A record that Windows refuses is lost.
class WindowsEventSink : public quill::Sink {
public:
    /// Registers the event source; throws std::system_error with the Windows error if that fails.
    WindowsEventSink();

    void write_log(const quill::MacroMetadata* log_metadata, std::uint64_t log_timestamp, std::string_view thread_id,
                   std::string_view thread_name, const std::string& process_id, std::string_view logger_name,
                   quill::LogLevel log_level, std::string_view log_level_description,
                   std::string_view log_level_short_code,
                   const std::vector<std::pair<std::string, std::string>>* named_args, std::string_view log_message,
                   std::string_view log_statement) override;
    void flush_sink() override {}

private:
    EventSource source_;
};

/// Gets or creates the logging library's sink "windows", a WindowsEventSink; throws as its constructor does.
std::shared_ptr<quill::Sink> event_sink();

} // namespace System
