#pragma once

#include <quill/LogMacros.h>
#include <quill/Logger.h>

namespace Logger {

/// The named loggers, set by init_loggers() and valid until the process ends. A log statement is written as
/// `LOG_ERROR(Logger::main, "error {}", code)`. It records the name of the enclosing function, so it must not be inside
/// a lambda.
extern quill::Logger* api;
extern quill::Logger* comm;
extern quill::Logger* dll;
extern quill::Logger* main;
extern quill::Logger* pkg_report;
extern quill::Logger* pkg_update;

/// Blocks until everything that was logged so far has been written.
void flush();

} // namespace Logger
