#include "dll/dynamic_library.h"

#include "logger/log.h"
#include "winconv/convert.h"

namespace Dll {

namespace {

HMODULE open(std::string_view name) {
    const std::wstring native = WinConv::utf8_to_native(name);
    HMODULE handle = nullptr;
    if (GetModuleHandleExW(0, native.c_str(), &handle) == 0) {
        handle = LoadLibraryW(native.c_str());
    }
    return handle;
}

} // namespace

DynamicLibrary::~DynamicLibrary() {
    free();
}

bool DynamicLibrary::load(std::initializer_list<std::string_view> candidates, bool quiet) {
    if (candidates.size() == 0) {
        return handle_ != nullptr;
    }
    for (const std::string_view candidate : candidates) {
        handle_ = open(candidate);
        if (handle_ == nullptr) {
            if (!quiet) {
                LOG_DEBUG(Logger::dll, "Loading {} failed", candidate);
            }
            continue;
        }
        if (!quiet) {
            LOG_DEBUG(Logger::dll, "Attempting to load {}", candidate);
        }
        if (!resolve_required(candidate, quiet)) {
            free();
            continue;
        }
        resolve_optional(candidate, quiet);
        if (!quiet) {
            LOG_DEBUG(Logger::dll, "Successfully loaded {}", candidate);
        }
        return true;
    }
    return false;
}

bool DynamicLibrary::resolve_required(std::string_view candidate, bool quiet) {
    for (LibrarySymbol* symbol : required_symbols_) {
        const FARPROC address = GetProcAddress(handle_, symbol->name);
        if (address == nullptr) {
            if (!quiet) {
                LOG_DEBUG(Logger::dll, "Failed to resolve symbol {} from {}", symbol->name, candidate);
            }
            return false;
        }
        symbol->address = address;
    }
    return true;
}

void DynamicLibrary::resolve_optional(std::string_view candidate, bool quiet) {
    for (LibrarySymbol* symbol : optional_symbols_) {
        symbol->address = GetProcAddress(handle_, symbol->name);
        if (symbol->address == nullptr) {
            if (!quiet) {
                LOG_DEBUG(Logger::dll, "Failed to resolve optional symbol {} from {}", symbol->name, candidate);
            }
            return;
        }
    }
}

void DynamicLibrary::free() {
    if (handle_ != nullptr) {
        FreeLibrary(handle_);
        handle_ = nullptr;
    }
}

} // namespace Dll
