#pragma once

namespace Dll {

/// Restricts the search for DLLs that are loaded from now on to System32, where only administrators can write. Windows
/// 7 without its later updates does not support that; there, only the current folder is removed from the search path.
void confine_search();

} // namespace Dll
