#pragma once

#include <windows.h>

#include <string>

/// Sets a variable of the process environment, or with a null value removes it, until the scope ends.
class EnvironmentVariable {
public:
    EnvironmentVariable(const wchar_t* name, const wchar_t* value) : name_(name) {
        before_.resize(GetEnvironmentVariableW(name, before_.data(), static_cast<DWORD>(before_.size())));
        SetEnvironmentVariableW(name, value);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() {
        SetEnvironmentVariableW(name_, before_.empty() ? nullptr : before_.c_str());
    }

private:
    const wchar_t* name_;
    std::wstring before_ = std::wstring(32768, L'\0');
};
