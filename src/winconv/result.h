#pragma once

#include <string>
#include <utility>
#include <variant>

namespace WinConv {

/// A failure, described in UTF-8.
struct Error {
    std::string text;
};

/// A value, or the error that prevented it.
template <typename Value = std::monostate>
class [[nodiscard]] Result {
public:
    Result() = default;
    Result(Value value) : content_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}

    bool has_value() const {
        return content_.index() == 0;
    }
    const Value& value() const {
        return std::get<0>(content_);
    }
    const Error& error() const {
        return std::get<1>(content_);
    }

private:
    std::variant<Value, Error> content_;
};

} // namespace WinConv
