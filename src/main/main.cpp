#include "console/console.h"
#include "dll/search.h"
#include "logger/init_loggers.h"
#include "main/command_line.h"
#include "main/dispatch.h"
#include "system_win32/event_sink.h"

#include <cstdio>
#include <exception>

namespace {

int run() {
    Logger::LogLevelConfig levels;
    levels.default_level = Logger::Level::Critical;
    Logger::init_loggers(levels, System::event_sink);
    return Commands::dispatch(CommandLine::arguments());
}

} // namespace

int main() {
    // An elevated process must not take libraries from the folder that it was started from or in.
    Dll::confine_search();
    try {
        const int status = run();
        Logger::stop_logging();
        return status;
    } catch (const std::exception& error) {
        // What nobody foresaw ends the process abnormally, but not before it is named and everything is written.
        Console::print_error("{}\n", error.what());
        Logger::stop_logging();
        static_cast<void>(std::fflush(nullptr));
        throw;
    }
}
