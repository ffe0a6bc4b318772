#include "dll/dynamic_library.h"

#include "logger/log.h"
#include "winconv/convert.h"

namespace Dll {

namespace {

ModuleHandle open(std::string_view name) {
    const std::wstring native = WinConv::utf8_to_native(name);
    HMODULE handle = nullptr;
    if (GetModuleHandleExW(0, native.c_str(), &handle) == 0) {
        handle = LoadLibraryW(native.c_str());
    }
    return ModuleHandle(handle);
}

// Sets the addresses of the symbols in order, until one is missing. Returns that symbol, or null if the library exports
// all of them.
const LibrarySymbol* first_missing(HMODULE library, const std::vector<LibrarySymbol*>& symbols) {
    for (LibrarySymbol* symbol : symbols) {
        symbol->address = GetProcAddress(library, symbol->name);
        if (symbol->address == nullptr) {
            return symbol;
        }
    }
    return nullptr;
}

} // namespace

bool DynamicLibrary::load(std::initializer_list<std::string_view> candidates, bool quiet) {
    if (candidates.size() == 0) {
        return handle_ != nullptr;
    }
    for (const std::string_view candidate : candidates) {
        handle_ = open(candidate);
        if (!handle_) {
            if (!quiet) {
                LOG_DEBUG(Logger::dll, "Loading {} failed", candidate);
            }
            continue;
        }
        if (!quiet) {
            LOG_DEBUG(Logger::dll, "Attempting to load {}", candidate);
        }
        if (const auto* const missing = first_missing(handle_.get(), required_symbols_)) {
            if (!quiet) {
                LOG_DEBUG(Logger::dll, "Failed to resolve symbol {} from {}", missing->name, candidate);
            }
            handle_.reset();
            continue;
        }
        const auto* const missing = first_missing(handle_.get(), optional_symbols_);
        if (missing != nullptr && !quiet) {
            LOG_DEBUG(Logger::dll, "Failed to resolve optional symbol {} from {}", missing->name, candidate);
        }
        if (!quiet) {
            LOG_DEBUG(Logger::dll, "Successfully loaded {}", candidate);
        }
        return true;
    }
    return false;
}

} // namespace Dll
