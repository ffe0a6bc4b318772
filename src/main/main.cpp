#include "logger/init_loggers.h"
#include "main/command_line.h"
#include "main/console.h"
#include "main/dispatch.h"

#include <windows.h>

#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <vector>

int main() {
    // An elevated process must not take libraries from the folder that it was started from or in.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);

    Logger::LogLevelConfig levels;
    levels.default_level = Logger::Level::Critical;
    Logger::init_loggers(levels);
    try {
        const std::vector<std::string> arguments = CommandLine::arguments();
        const int status = Commands::dispatch(std::span(arguments).subspan(arguments.empty() ? 0 : 1));
        Logger::stop_logging();
        return status;
    } catch (const std::exception& error) {
        // What nobody foresaw ends the process abnormally, but not before it is named and the last log lines are
        // written.
        Console::print_error("{}\n", error.what());
        static_cast<void>(std::fflush(stderr));
        Logger::stop_logging();
        throw;
    }
}
