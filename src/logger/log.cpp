#include "logger/log.h"

#include <quill/Backend.h>

namespace Logger {

quill::Logger* api = nullptr;
quill::Logger* comm = nullptr;
quill::Logger* dll = nullptr;
quill::Logger* main = nullptr;
quill::Logger* pkg_report = nullptr;
quill::Logger* pkg_update = nullptr;

void flush() {
    // The back end looks at its queue only now and then unless it is woken.
    quill::Backend::notify();
    main->flush_log();
}

} // namespace Logger
