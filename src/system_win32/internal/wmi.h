#pragma once

#include "system_win32/com.h"

#include <wbemcli.h>

#include <string>

namespace System {

/// The rows that a WMI query returns, one after another.
class WmiRows {
public:
    /// Asks ROOT\CIMV2. Throws std::system_error in the HRESULT category, worded by the step that failed or, for the
    /// query itself and for fetching a row, by the given texts, which must outlive the object.
    WmiRows(const wchar_t* query, const char* query_failure, const char* row_failure);

    /// Returns the next row, null behind the last one. Throws as above.
    ComPtr<IWbemClassObject> next();

private:
    const char* row_failure_;
    ComPtr<IWbemLocator> locator_;
    ComPtr<IWbemServices> services_;
    ComPtr<IEnumWbemClassObject> rows_;
};

/// Returns a property of the row as UTF-8 text: a string as it is, a 32-bit integer in decimal. Returns `fallback` and
/// logs an error if the row has no such property or it is of another type.
std::string get_wmi_property(IWbemClassObject& row, const wchar_t* name, const std::string& fallback);

} // namespace System
