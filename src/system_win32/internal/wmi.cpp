#include "system_win32/internal/wmi.h"

#include "logger/log.h"
#include "winconv/convert.h"

#include <objbase.h>

namespace System {

namespace {

constexpr CLSID wbem_locator_class = {0x4590F811, 0x1D3A, 0x11D0, {0x89, 0x1F, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};
constexpr IID wbem_locator_interface = {0xDC12A687, 0x737F, 0x11CF, {0x88, 0x4D, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};

constexpr DWORD any_context = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

void check(HRESULT result, const char* failure) {
    if (FAILED(result)) {
        throw com_error(result, failure);
    }
}

} // namespace

WmiRows::WmiRows(const wchar_t* query, const char* query_failure, const char* row_failure) : row_failure_(row_failure) {
    void* locator = nullptr;
    check(CoCreateInstance(wbem_locator_class, nullptr, any_context, wbem_locator_interface, &locator),
          "Failed to create WBEM locator");
    locator_.reset(static_cast<IWbemLocator*>(locator));

    IWbemServices* services = nullptr;
    check(locator_->ConnectServer(make_bstr(L"ROOT\\CIMV2").get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                  &services),
          "Failed to connect to WBEM");
    services_.reset(services);

    check(CoSetProxyBlanket(services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                            RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE),
          "Failed to set proxy blanket on WBEM services");

    IEnumWbemClassObject* rows = nullptr;
    check(services->ExecQuery(make_bstr(L"WQL").get(), make_bstr(query).get(),
                              WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, &rows),
          query_failure);
    rows_.reset(rows);
}

ComPtr<IWbemClassObject> WmiRows::next() {
    IWbemClassObject* row = nullptr;
    ULONG count = 0;
    check(rows_->Next(static_cast<LONG>(WBEM_INFINITE), 1, &row, &count), row_failure_);
    return ComPtr<IWbemClassObject>(count == 1 ? row : nullptr);
}

std::string get_wmi_property(IWbemClassObject& row, const wchar_t* name, const std::string& fallback) {
    Variant value;
    if (FAILED(row.Get(name, 0, &value, nullptr, nullptr))) {
        LOG_ERROR(Logger::main, "Unable to obtain property {}", WinConv::native_to_utf8(name));
        return fallback;
    }
    if (value->vt == VT_I4) {
        return std::to_string(value->lVal);
    }
    if (value->vt == VT_BSTR) {
        return value->bstrVal == nullptr ? std::string() : WinConv::native_to_utf8(value->bstrVal);
    }
    LOG_ERROR(Logger::main, "{} type is not VT_BSTR or VT_I4", WinConv::native_to_utf8(name));
    return fallback;
}

} // namespace System
