#pragma once

#include <string>
#include <string_view>

namespace WinConv {

/// Converts UTF-8 to UTF-16. Ill-formed input becomes U+FFFD; an embedded NUL ends the result. If the conversion fails,
/// the result is empty and the input is logged at Critical level.
std::wstring utf8_to_native(std::string_view text);

/// Converts text in the ANSI code page of the process, which is UTF-8 from Windows 10 1903 on, to UTF-16. A NUL ends
/// the result. If the conversion fails, the result is empty and the error is logged at Critical level.
std::wstring ansi_to_native(std::string_view text);

/// Converts UTF-16 to UTF-8. Ill-formed input becomes U+FFFD; an embedded NUL ends the result. If the conversion fails,
/// the result is empty and the Windows error is logged at Critical level.
std::string native_to_utf8(std::wstring_view text);

} // namespace WinConv
