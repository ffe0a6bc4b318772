#pragma once

#include <windows.h>

#include <rpc.h>

#include <string>
#include <string_view>

namespace Config {

/// A UUID by value. The nil UUID (all zero), which is also the initial value, means "not set".
class Uuid {
public:
    Uuid() = default;

    /// Reads the 8-4-4-4-12 form from UTF-8, in either case, without braces or blanks. Never throws: any other text
    /// gives the nil UUID.
    static Uuid parse(std::string_view text);

    /// Returns a new random UUID.
    static Uuid generate();

    bool is_nil() const;

    /// Returns the 36 characters of the lower-case text form. Throws std::bad_alloc.
    std::string text() const;

private:
    UUID value_{};
};

} // namespace Config
