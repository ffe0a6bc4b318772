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

/// Returns the sink "terminal", creating it if necessary: standard output, in the library's colours if `colours` is
/// set.
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

/// Creates the rotating file sink for `file_name` in the working directory. An existing file is truncated.
inline std::shared_ptr<quill::Sink> rotating_file_sink(const char* file_name) {
    quill::RotatingFileSinkConfig config;
    config.set_open_mode('w');
    // The sink would also remove unrelated files whose names match the pattern of its own.
    config.set_remove_old_files(false);
#ifdef CORVEL_QUILL_7
    return quill::Frontend::create_or_get_sink<quill::RotatingFileSink>(file_name, config);
#else
    // The sink registry queries whether the folder is case-sensitive and throws if the system does not support the
    // query.
    return std::make_shared<quill::RotatingFileSink>(file_name, config);
#endif
}

/// Disables the check for a second back end in the process: it uses a named mutex, and any process of the session could
/// hold that mutex to prevent the tool from starting.
inline void allow_other_backends([[maybe_unused]] quill::BackendOptions& options) {
#ifndef CORVEL_QUILL_7
    options.check_backend_singleton_instance = false;
#endif
}

} // namespace Logger::QuillCompat
