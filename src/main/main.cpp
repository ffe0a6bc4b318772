#include "console/console.h"
#include "dll/search.h"
#include "logger/init_loggers.h"
#include "main/dispatch.h"
#include "system_win32/event_sink.h"
#include "winconv/convert.h"

#include <cstddef>
#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <vector>

namespace {

int run(std::span<wchar_t* const> arguments) {
    Logger::LogLevelConfig levels;
    levels.default_level = Logger::Level::Critical;
    Logger::init_loggers(levels, Console::output_is_console(), System::event_sink);
    std::vector<std::string> words;
    for (const wchar_t* const argument : arguments) {
        words.push_back(WinConv::native_to_utf8(argument));
    }
    return Commands::dispatch(words);
}

} // namespace

// Wide arguments, because narrow ones lose every character that the ANSI code page does not contain.
int wmain(int count, wchar_t** arguments) {
    // An elevated process must not load DLLs from the executable's folder or the current folder.
    Dll::confine_search();
    try {
        // Skips the program's name, which the parent process may have omitted.
        const int status = run(std::span(arguments, static_cast<std::size_t>(count)).subspan(count > 0 ? 1 : 0));
        Logger::stop_logging();
        return status;
    } catch (const std::exception& error) {
        // An unexpected exception ends the process abnormally, after its message and everything in buffers has been
        // written.
        Console::print_error("{}\n", error.what());
        Logger::stop_logging();
        static_cast<void>(std::fflush(nullptr));
        throw;
    }
}
