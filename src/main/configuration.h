#pragma once

namespace Commands {

/// Loads the configuration; on failure prints why to standard error and returns false.
bool load_configuration();

} // namespace Commands
