#pragma once

#include <cstdint>
#include <string>

namespace System {

/// Parses a decimal number with std::stol. Throws std::invalid_argument ("invalid stol argument") or std::out_of_range
/// ("stol argument out of range").
std::int32_t to_signed(const std::string& text);

/// Parses a decimal number with std::stoul. Throws the same exceptions, with "stoul" in the messages.
std::uint32_t to_unsigned(const std::string& text);

} // namespace System
