#pragma once

#include <cstdint>
#include <string>

namespace System {

/// Parses a decimal number as std::stol does. Throws std::invalid_argument "invalid stol argument" and
/// std::out_of_range "stol argument out of range".
std::int32_t to_signed(const std::string& text);

/// The same with std::stoul, which is also the name in the messages.
std::uint32_t to_unsigned(const std::string& text);

} // namespace System
