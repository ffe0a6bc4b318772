#pragma once

// The differences between the two major versions of Quill that the project builds with, 7 and 13.

#include <quill/Backend.h>
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
    // It would take whatever else in the folder is named like its own files for them.
    config.set_remove_old_files(false);
#ifdef CORVEL_QUILL_7
    return quill::Frontend::create_or_get_sink<quill::RotatingFileSink>(file_name, config);
#else
    // The sink registry asks whether the directory tells upper from lower case, which not every system answers.
    return std::make_shared<quill::RotatingFileSink>(file_name, config);
#endif
}

/// Switches the search for a second back end in the process off: it takes a named mutex, which any process of the
/// session could hold to keep the tool from starting.
inline void allow_other_backends([[maybe_unused]] quill::BackendOptions& options) {
#ifndef CORVEL_QUILL_7
    options.check_backend_singleton_instance = false;
#endif
}

} // namespace Logger::QuillCompat
