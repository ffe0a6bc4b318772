#include "system_win32/detectors/number.h"

#include <fmt/format.h>

#include <stdexcept>

namespace System {

namespace {

// Replaces the standard library's messages, which depend on the implementation.
template <typename Parse>
auto parse_number(const char* name, const std::string& text, Parse parse) {
    try {
        return parse(text);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument(fmt::format("invalid {} argument", name));
    } catch (const std::out_of_range&) {
        throw std::out_of_range(fmt::format("{} argument out of range", name));
    }
}

} // namespace

std::int32_t to_signed(const std::string& text) {
    return parse_number("stol", text, [](const std::string& number) { return std::stol(number); });
}

std::uint32_t to_unsigned(const std::string& text) {
    return parse_number("stoul", text, [](const std::string& number) { return std::stoul(number); });
}

} // namespace System
