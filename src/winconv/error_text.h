#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace WinConv {

/// Returns "CODE - MESSAGE" for a Windows error or HRESULT, as in "0x5 - Access denied.": the Windows Update
/// message of the code if it has one, else the system's. UTF-8.
std::string format_error_code(std::uint32_t code);

/// Returns the message of a Windows Update result code, or an empty text.
std::string_view windows_update_error_message(std::uint32_t code);

/// The category of Windows error codes. Unlike the standard library's own, its messages are UTF-8 on every system
/// and the system's to the full stop ("unknown error" if the system has none); its codes compare with std::errc
/// the same way.
const std::error_category& windows_error_category();

/// Returns a Windows error code as std::error_code.
std::error_code windows_error(std::uint32_t code);

/// Returns the calling thread's GetLastError() as std::error_code; call it before anything else can change it.
std::error_code last_error();

/// Returns format_error_code() of the calling thread's GetLastError(); call it before anything else can change that.
std::string last_error_text();

} // namespace WinConv

namespace ComHelpers {

/// The category in which failed COM and WMI calls travel as std::system_error: name "HRESULT", messages in UTF-8 by
/// the rule of COM error objects.
class HresultErrorCategory : public std::error_category {
public:
    static const HresultErrorCategory& instance();

    const char* name() const noexcept override;
    std::string message(int code) const override;
};

} // namespace ComHelpers
