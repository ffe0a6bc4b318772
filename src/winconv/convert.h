#pragma once

#include <string>
#include <string_view>

namespace WinConv {

/// Converts UTF-8 to UTF-16. Ill-formed input becomes U+FFFD; an embedded NUL ends the result. Never throws for bad
/// input: if the system refuses, a Critical line quotes the input and the result is empty.
std::wstring utf8_to_native(std::string_view text);

/// Converts text of the process's ANSI code page, which is UTF-8 only on later Windows, to UTF-16. Ends at a NUL; empty
/// if the system refuses.
std::wstring ansi_to_native(std::string_view text);

/// Converts UTF-16 to UTF-8, with the rules of utf8_to_native().
std::string native_to_utf8(std::wstring_view text);

} // namespace WinConv
