#include "system_win32/event_sink.h"

#include "logger/level.h"
#include "winconv/convert.h"
#include "winconv/error_text.h"

#include <fmt/format.h>
#include <quill/Frontend.h>
#include <quill/core/MacroMetadata.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace System {

namespace {

struct EventKind {
    Logger::Level level;
    WORD type;
    const char* priority;
    DWORD identifier;
};

// The identifiers do not follow the severity: the agent's message file and programs that read the log rely on these
// values.
constexpr std::array<EventKind, 9> event_kinds = {{
    {Logger::Level::TraceL3, EVENTLOG_INFORMATION_TYPE, "LOG_TRACEL3", 0x20000003},
    {Logger::Level::TraceL2, EVENTLOG_INFORMATION_TYPE, "LOG_TRACEL2", 0x20000002},
    {Logger::Level::TraceL1, EVENTLOG_INFORMATION_TYPE, "LOG_TRACEL1", 0x20000001},
    {Logger::Level::Debug, EVENTLOG_INFORMATION_TYPE, "LOG_DEBUG", 0x20000004},
    {Logger::Level::Info, EVENTLOG_INFORMATION_TYPE, "LOG_INFO", 0x20000005},
    {Logger::Level::Notice, EVENTLOG_INFORMATION_TYPE, "LOG_NOTICE", 0x20000009},
    {Logger::Level::Warning, EVENTLOG_WARNING_TYPE, "LOG_WARNING", 0x20000006},
    {Logger::Level::Error, EVENTLOG_ERROR_TYPE, "LOG_ERROR", 0x20000007},
    {Logger::Level::Critical, EVENTLOG_ERROR_TYPE, "LOG_CRITICAL", 0x20000008},
}};

static_assert(event_kinds[static_cast<std::size_t>(Logger::Level::Error)].level == Logger::Level::Error);

const EventKind& event_kind(quill::LogLevel level) {
    const auto index = static_cast<std::size_t>(level);
    return event_kinds[index < event_kinds.size() ? index : static_cast<std::size_t>(Logger::Level::Error)];
}

// Some compilers include the namespaces in a function's name.
std::string_view bare_name(std::string_view function) {
    const auto colons = function.rfind("::");
    return colons == std::string_view::npos ? function : function.substr(colons + 2);
}

} // namespace

WindowsEventSink::WindowsEventSink() : source_(RegisterEventSourceW(nullptr, L"corvel")) {
    if (!source_) {
        throw std::system_error(WinConv::last_error());
    }
}

void WindowsEventSink::write(const Logger::Statement& statement) {
    const EventKind& kind = event_kind(statement.level);
    const std::string record =
        fmt::format("MESSAGE={}  CODE_FILE={}  CODE_LINE={}  CODE_FUNC={}  SYSLOG_IDENTIFIER=corvel-{}  PRIORITY={}",
                    statement.line, statement.metadata.file_name(), statement.metadata.line(),
                    bare_name(statement.metadata.caller_function()), statement.logger, kind.priority);
    const std::wstring native_record = WinConv::utf8_to_native(record);
    const std::wstring native_statement = WinConv::utf8_to_native(statement.line);
    std::array<LPCWSTR, 2> strings = {native_record.c_str(), native_statement.c_str()};
    ReportEventW(source_.get(), kind.type, 0, kind.identifier, nullptr, static_cast<WORD>(strings.size()), 0,
                 strings.data(), nullptr);
}

std::shared_ptr<quill::Sink> event_sink() {
    return quill::Frontend::create_or_get_sink<WindowsEventSink>("windows");
}

} // namespace System
