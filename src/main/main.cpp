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

// The wide arguments: the narrow ones have lost every character that the code page lacks.
int wmain(int count, wchar_t** arguments) {
    // An elevated process must not take libraries from the folder that it was started from or in.
    Dll::confine_search();
    try {
        // Without the program's name, which a caller may leave out.
        const int status = run(std::span(arguments, static_cast<std::size_t>(count)).subspan(count > 0 ? 1 : 0));
        Logger::stop_logging();
        return status;
    } catch (const std::exception& error) {
        // An unforeseen exception ends the process abnormally, but not before it is named and everything is written.
        Console::print_error("{}\n", error.what());
        Logger::stop_logging();
        static_cast<void>(std::fflush(nullptr));
        throw;
    }
}
