#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <initializer_list>
#include <string_view>
#include <vector>

namespace Dll {

using ModuleHandle = WinConv::Owned<HMODULE, FreeLibrary>;

/// A function that not every release of Windows has: its entry point, null until its library is loaded.
struct LibrarySymbol {
    FARPROC address;
    const char* name;

    /// The entry point as a function of this type; test `address` first.
    template <typename Function>
    Function* as() const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(address));
    }
};

/// A system library that is loaded at run time, by one static object that keeps it until the process ends.
class DynamicLibrary {
public:
    DynamicLibrary(std::initializer_list<LibrarySymbol*> required, std::initializer_list<LibrarySymbol*> optional)
        : required_symbols_(required), optional_symbols_(optional) {}

    /// Loads the first candidate that has all required symbols, releasing the one before, and sets the symbols'
    /// addresses; one that fails leaves the addresses it had set. Of the optional symbols, those behind the first
    /// missing one stay as they were. Returns whether a library is loaded; why not is logged at Debug level unless
    /// `quiet`. Without candidates, returns whether one is loaded already.
    bool load(std::initializer_list<std::string_view> candidates, bool quiet);

private:
    std::vector<LibrarySymbol*> required_symbols_;
    std::vector<LibrarySymbol*> optional_symbols_;
    ModuleHandle handle_;
};

} // namespace Dll
