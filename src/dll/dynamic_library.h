#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <initializer_list>
#include <string_view>
#include <vector>

namespace Dll {

using ModuleHandle = WinConv::Owned<HMODULE, FreeLibrary>;

/// A function that not every version of Windows has. `address` is its entry point, null until its library has been
/// loaded.
struct LibrarySymbol {
    FARPROC address;
    const char* name;

    /// Returns the entry point as a pointer to a function of this type. `address` must not be null.
    template <typename Function>
    Function* as() const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(address));
    }
};

/// A system library that is loaded at run time. Its objects are static, so that it stays loaded until the process ends.
class DynamicLibrary {
public:
    DynamicLibrary(std::initializer_list<LibrarySymbol*> required, std::initializer_list<LibrarySymbol*> optional)
        : required_symbols_(required), optional_symbols_(optional) {}

    /// Loads the first candidate that exports all required symbols, in place of a library loaded earlier, and sets the
    /// addresses of the symbols. A candidate that is rejected may already have set some of them; optional symbols after
    /// the first missing one keep their previous addresses. Returns whether a library was loaded; failures are logged
    /// at Debug level unless `quiet` is set. Without candidates, returns whether a library is loaded already.
    bool load(std::initializer_list<std::string_view> candidates, bool quiet);

private:
    std::vector<LibrarySymbol*> required_symbols_;
    std::vector<LibrarySymbol*> optional_symbols_;
    ModuleHandle handle_;
};

} // namespace Dll
