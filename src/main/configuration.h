#pragma once

namespace Commands {

/// Loads the configuration. On failure, prints the reason to standard error and returns false.
bool load_configuration();

} // namespace Commands
