#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace System {

/// Parses a decimal number with the standard library's function of that name. Throws std::invalid_argument and
/// std::out_of_range worded alike for every library: "invalid stol argument", "stol argument out of range".
template <typename Number>
Number to_number(Number (*parse)(const std::string&, std::size_t*, int), const char* name, const std::string& text) {
    try {
        return parse(text, nullptr, 10);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument(fmt::format("invalid {} argument", name));
    } catch (const std::out_of_range&) {
        throw std::out_of_range(fmt::format("{} argument out of range", name));
    }
}

} // namespace System
