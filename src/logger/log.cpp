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
    // Without this, the flush would wait until the back end next polls its queue.
    quill::Backend::notify();
    main->flush_log();
}

} // namespace Logger
