#pragma once

#include "system_win32/com.h"

#include <wbemcli.h>

#include <string>

namespace System {

/// Runs a WMI query and returns its rows one by one.
class WmiRows {
public:
    /// Runs the query in the namespace ROOT\CIMV2. Throws std::system_error (category HRESULT) with a text that names
    /// the step that failed: `query_failure` for the query itself, texts of its own for the steps before it.
    /// `row_failure` is the text of next(); it must outlive the object.
    WmiRows(const wchar_t* query, const char* query_failure, const char* row_failure);

    /// Returns the next row, or null after the last one. Throws std::system_error (category HRESULT).
    ComPtr<IWbemClassObject> next();

private:
    const char* row_failure_;
    ComPtr<IWbemLocator> locator_;
    ComPtr<IWbemServices> services_;
    ComPtr<IEnumWbemClassObject> rows_;
};

/// Returns a property of the row as UTF-8 text: a string unchanged, a 32-bit integer in decimal. If the row has no such
/// property or it has another type, logs an error and returns `fallback`.
std::string get_wmi_property(IWbemClassObject& row, const wchar_t* name, const std::string& fallback);

} // namespace System
