#include "config/internal/environment.h"

#include "winconv/convert.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Config {

namespace {

std::string variable_name(std::string_view key) {
    std::string name(key);
    std::ranges::transform(name, name.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return name;
}

} // namespace

std::optional<std::string> read_environment(const std::string& name) {
    const std::wstring native_name = WinConv::utf8_to_native(name);
    std::wstring value;
    DWORD length = 0;
    do {
        // The returned length includes the terminating null character only if the buffer is too small.
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

std::vector<Override> apply_environment(Record& record) {
    std::vector<Override> overrides;
    for (const std::string& key : keys()) {
        std::string variable = variable_name(key);
        if (const auto text = read_environment(variable)) {
            overrides.push_back({std::move(variable), set_value(record, key, *text)});
        }
    }
    return overrides;
}

} // namespace Config
