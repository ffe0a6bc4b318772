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

/// Returns a copy of the text. Throws std::system_error with the out-of-memory HRESULT.
Bstr make_bstr(const wchar_t* text);

/// A VARIANT that is cleared when its scope ends.
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

/// Returns the error that a failed COM call is raised as.
std::system_error com_error(HRESULT result, const char* what);

/// Initialises COM and, where there is one, WinRT for the calling thread, multi-threaded, for the object's scope. What
/// the thread had initialised before is left initialised. Failures are logged; what needs COM then fails by itself.
class WindowsIpcApartment {
public:
    WindowsIpcApartment();
    WindowsIpcApartment(const WindowsIpcApartment&) = delete;
    WindowsIpcApartment& operator=(const WindowsIpcApartment&) = delete;
    ~WindowsIpcApartment();

private:
    // Against COM's usual rule, what was initialised before is not ended.
    bool ends_com_ = false;
    bool ends_winrt_ = false;
};

} // namespace System
