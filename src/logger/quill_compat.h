#pragma once

// The differences between the two major versions of Quill that the project builds with, 7 and 13.

#include <quill/Frontend.h>
#include <quill/sinks/ConsoleSink.h>
#include <quill/sinks/RotatingFileSink.h>

#include <memory>

#if !__has_include(<quill/SimpleSetup.h>)
#define CORVEL_QUILL_7
#endif

namespace Logger::QuillCompat {

/// Gets or creates the sink "terminal": standard output, with the library's colours if `colours`.
inline std::shared_ptr<quill::Sink> terminal_sink(bool colours) {
#ifdef CORVEL_QUILL_7
    return quill::Frontend::create_or_get_sink<quill::ConsoleSink>("terminal", colours, "stdout");
#else
    using ColourMode = quill::ConsoleSinkConfig::ColourMode;
    quill::ConsoleSinkConfig config;
    config.set_colour_mode(colours ? ColourMode::Automatic : ColourMode::Never);
    return quill::Frontend::create_or_get_sink<quill::ConsoleSink>("terminal", config);
#endif
}

/// Creates the rotating file sink over `file_name` in the working directory, truncating the file.
inline std::shared_ptr<quill::Sink> rotating_file_sink(const char* file_name) {
    quill::RotatingFileSinkConfig config;
    config.set_open_mode('w');
#ifdef CORVEL_QUILL_7
    return quill::Frontend::create_or_get_sink<quill::RotatingFileSink>(file_name, config);
#else
    // The sink registry asks whether the directory tells upper from lower case, which not every system answers.
    return std::make_shared<quill::RotatingFileSink>(file_name, config);
#endif
}

} // namespace Logger::QuillCompat
