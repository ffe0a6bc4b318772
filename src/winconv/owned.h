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

/// A std::unique_ptr that owns a Win32 resource whose empty value is null and releases it with `close`. A handle type
/// is declared in one line: `using ServiceHandle = Owned<SC_HANDLE, CloseServiceHandle>;`.
template <typename Handle, auto close>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, Closer<close>>;

} // namespace WinConv
