#pragma once

#include <windows.h>

#include <string>

/// Sets a variable of the process environment, or with a null value removes it, until the scope ends.
class EnvironmentVariable {
public:
    EnvironmentVariable(const wchar_t* name, const wchar_t* value) : name_(name) {
        std::wstring before(32768, L'\0');
        before.resize(GetEnvironmentVariableW(name, before.data(), static_cast<DWORD>(before.size())));
        before_ = before;
        SetEnvironmentVariableW(name, value);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() {
        SetEnvironmentVariableW(name_, before_.empty() ? nullptr : before_.c_str());
    }

private:
    const wchar_t* name_;
    std::wstring before_;
};
