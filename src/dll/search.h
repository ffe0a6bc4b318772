#pragma once

namespace Dll {

/// Confines the search for libraries that are loaded from now on to the system's folder, where only administrators
/// write. Windows 7 without its later updates cannot; there at least the current folder is left out.
void confine_search();

} // namespace Dll
