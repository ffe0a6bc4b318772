#pragma once

#include <windows.h>

#include <rpc.h>

#include <string>
#include <string_view>

namespace Config {

/// A UUID. The nil UUID (all zeros), which is also the initial value, means "not set".
class Uuid {
public:
    Uuid() = default;

    /// Parses the 8-4-4-4-12 form (UTF-8, upper or lower case, no braces, no spaces). Returns the nil UUID for any
    /// other text.
    static Uuid parse(std::string_view text);

    /// Returns a new random UUID.
    static Uuid generate();

    bool is_nil() const;

    /// Returns the lower-case 8-4-4-4-12 form, 36 characters. Throws std::bad_alloc if there is not enough memory.
    std::string text() const;

private:
    UUID value_{};
};

} // namespace Config
