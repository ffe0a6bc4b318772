#include "config/environment.h"

#include "logger/log.h"
#include "winconv/convert.h"

#include <nlohmann/json.hpp>

#include <windows.h>

#include <algorithm>
#include <string_view>

namespace Config {

namespace {

std::string variable_name(std::string_view key) {
    std::string name(key);
    std::ranges::transform(name, name.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return name;
}

template <typename T>
void apply_variable(const std::string& name, T& field) {
    const auto text = read_environment(name);
    if (!text) {
        return;
    }
    try {
        field = text_to_value<T>(*text);
        LOG_DEBUG(Logger::main, "Using environment variable for config: {}", name);
    } catch (const nlohmann::json::exception& error) {
        LOG_ERROR(Logger::main, "Ignoring malformed configuration value for {}: {}", name, error.what());
    }
}

} // namespace

std::optional<std::string> read_environment(const std::string& name) {
    const std::wstring native_name = WinConv::utf8_to_native(name);
    std::wstring value;
    DWORD length = 0;
    do {
        // The length counts the terminator only while the buffer is too small.
        value.resize(length);
        SetLastError(ERROR_SUCCESS);
        length = GetEnvironmentVariableW(native_name.c_str(), value.data(), static_cast<DWORD>(value.size()));
        if (length == 0 && GetLastError() != ERROR_SUCCESS) {
            return std::nullopt;
        }
    } while (length > value.size());
    value.resize(length);
    return WinConv::native_to_utf8(value);
}

void apply_environment(Record& record) {
    for_each_key([&](const char* key, auto member) { apply_variable(variable_name(key), record.*member); });
}

} // namespace Config
