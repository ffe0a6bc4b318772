#pragma once

#include "support/unit_test.h"

#include <wbemcli.h>

#include <map>
#include <variant>

/// WMI as far as the tool uses it: COM objects are made of nothing but the slots of their tables that it calls.
namespace FakedWmi {

using Value = std::variant<std::monostate, std::wstring, LONG>;
using Row = std::map<std::wstring, Value>;

/// What every query returns; the queries that were asked, and the end of COM among them.
inline std::vector<Row> rows;
inline std::vector<std::string> asked;
inline std::size_t returned = 0;
inline int references = 0;

/// Each step's outcome, for tests to replace.
inline HRESULT (*const good)() = [] { return S_OK; };
inline Fakes::Fake<HRESULT()> connect_server{&good, "ConnectServer"}, exec_query{&good, "ExecQuery"}, next_row{&good, "Next"}, get_property{&good, "Get"};

// An object, or none if the step that makes it failed.
template <std::size_t slot, auto function, typename Interface> HRESULT give(HRESULT outcome, Interface** result) {
    static void* table[32]{};
    static void* instance = table;
    table[2] = reinterpret_cast<void*>(+[](void*) -> ULONG { return static_cast<ULONG>(--references); });
    table[slot] = reinterpret_cast<void*>(function);
    references += SUCCEEDED(outcome) ? 1 : 0;
    *result = SUCCEEDED(outcome) ? reinterpret_cast<Interface*>(&instance) : nullptr;
    return outcome;
}

inline HRESULT get(void*, LPCWSTR name, LONG, VARIANT* value, CIMTYPE*, LONG*) {
    const auto found = rows[returned - 1].find(name);
    const HRESULT outcome = found == rows[returned - 1].end() ? static_cast<HRESULT>(WBEM_E_NOT_FOUND) : get_property();
    if (FAILED(outcome)) { return outcome; }
    const auto* const text = std::get_if<std::wstring>(&found->second);
    const auto* const number = std::get_if<LONG>(&found->second);
    value->vt = static_cast<VARTYPE>(text != nullptr ? VT_BSTR : number != nullptr ? VT_I4 : VT_NULL);
    if (text != nullptr) { value->bstrVal = text->empty() ? nullptr : (*Fakes::SysAllocString.original)(text->c_str()); }
    if (number != nullptr) { value->lVal = *number; }
    return outcome;
}

inline HRESULT next(void*, LONG timeout, ULONG, IWbemClassObject** result, ULONG* count) {
    EXPECT_EQ(timeout, -1);
    *count = returned < rows.size() ? 1 : 0;
    returned += *count;
    return *count == 0 ? S_FALSE : give<4, get>(next_row(), result);
}

inline HRESULT query(void*, BSTR language, BSTR text, LONG flags, IWbemContext*, IEnumWbemClassObject** result) {
    EXPECT_TRUE(std::wstring_view(language) == L"WQL" && flags == 48);
    asked.push_back(std::filesystem::path(text).string());
    returned = 0;
    return give<4, next>(exec_query(), result);
}

inline HRESULT connect(void*, BSTR space, BSTR, BSTR, BSTR, LONG, BSTR, IWbemContext*, IWbemServices** result) {
    EXPECT_STREQ(space, L"ROOT\\CIMV2");
    return give<20, query>(connect_server(), result);
}

/// Puts these in WMI's place.
inline void install(Fakes::Replacements& replaced) {
    replaced.emplace_front(Fakes::CoCreateInstance, [](auto&&, auto, DWORD context, auto&&, LPVOID* result) {
        EXPECT_EQ(context, 0x17U);
        return give<3, connect>(S_OK, result);
    });
    replaced.emplace_front(Fakes::CoSetProxyBlanket, [](auto, DWORD a, DWORD b, auto, DWORD c, DWORD d, auto, DWORD e) {
        EXPECT_TRUE(a == 10 && b == 0 && c == 3 && d == 3 && e == 0);
        return S_OK;
    });
}

} // namespace FakedWmi
