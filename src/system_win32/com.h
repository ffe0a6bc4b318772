#pragma once

#include "winconv/owned.h"

#include <windows.h>

#include <oleauto.h>
#include <unknwn.h>

#include <cstdint>
#include <system_error>

namespace System {

inline void release_interface(IUnknown* object) noexcept {
    object->Release();
}
template <typename Interface>
using ComPtr = WinConv::Owned<Interface*, release_interface>;

using Bstr = WinConv::Owned<BSTR, SysFreeString>;

/// Returns a copy of the text. Throws std::system_error with E_OUTOFMEMORY if there is not enough memory.
Bstr make_bstr(const wchar_t* text);

/// A VARIANT that its destructor clears.
class Variant {
public:
    Variant() {
        VariantInit(&value_);
    }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() {
        VariantClear(&value_);
    }

    VARIANT* operator&() {
        return &value_;
    }
    const VARIANT* operator->() const {
        return &value_;
    }

private:
    VARIANT value_;
};

/// Returns the exception for a failed COM call; `what` says what failed.
std::system_error com_error(HRESULT result, const char* what);

/// Initialises COM and, where available, WinRT for the calling thread in the multithreaded apartment, for the lifetime
/// of the object. What the thread had initialised before stays initialised. Failures are logged; later COM calls then
/// fail.
class WindowsIpcApartment {
public:
    WindowsIpcApartment();
    WindowsIpcApartment(const WindowsIpcApartment&) = delete;
    WindowsIpcApartment& operator=(const WindowsIpcApartment&) = delete;
    ~WindowsIpcApartment();

private:
    // Contrary to COM's usual rule, there is no matching call to uninitialise what was initialised before (S_FALSE).
    bool ends_com_ = false;
    bool ends_winrt_ = false;
};

} // namespace System
