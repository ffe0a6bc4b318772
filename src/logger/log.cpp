#include "logger/log.h"

namespace Logger {

quill::Logger* api = nullptr;
quill::Logger* comm = nullptr;
quill::Logger* dll = nullptr;
quill::Logger* main = nullptr;
quill::Logger* pkg_report = nullptr;
quill::Logger* pkg_update = nullptr;

} // namespace Logger
