#pragma once

#include <memory>
#include <type_traits>

namespace WinConv {

template <auto close>
struct Closer {
    template <typename Handle>
    void operator()(Handle handle) const noexcept {
        close(handle);
    }
};

/// Owner of one Win32 resource whose empty value is null, as std::unique_ptr: `close` releases it when the scope
/// ends. A kind of handle is one line: `using ServiceHandle = Owned<SC_HANDLE, CloseServiceHandle>;`.
template <typename Handle, auto close>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, Closer<close>>;

} // namespace WinConv
