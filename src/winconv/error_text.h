#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace WinConv {

/// Returns "CODE - MESSAGE" in UTF-8 for a Windows error or HRESULT, for example "0x5 - Access denied.". The message is
/// that of Windows Update if it has one for the code, otherwise the system's.
std::string format_error_code(std::uint32_t code);

/// Returns the message of a Windows Update result code, or an empty string for any other code.
std::string_view windows_update_error_message(std::uint32_t code);

/// Returns the category of Windows error codes. Unlike those of std::system_category(), its messages are UTF-8 on every
/// system and keep their final full stop; a code without a message gives "unknown error". Its codes compare with
/// std::errc in the same way.
const std::error_category& windows_error_category();

/// Returns a Windows error code as std::error_code.
std::error_code windows_error(std::uint32_t code);

/// Returns GetLastError() of the calling thread as std::error_code. Call it before anything can change the last error.
std::error_code last_error();

/// Returns format_error_code() of GetLastError(). Call it before anything can change the last error.
std::string last_error_text();

} // namespace WinConv

namespace ComHelpers {

/// The error category of the std::system_error that reports a failed COM or WMI call. Its name is "HRESULT"; its
/// messages are UTF-8 and worded as those of _com_error.
class HresultErrorCategory : public std::error_category {
public:
    static const HresultErrorCategory& instance();

    const char* name() const noexcept override;
    std::string message(int code) const override;
};

} // namespace ComHelpers
