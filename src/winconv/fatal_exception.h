#pragma once

#include <string>
#include <string_view>

namespace WinConv {

/// A condition after which the current command cannot go on. Not a std::exception, so that no handler for ordinary
/// failures takes it for one.
class CorvelFatalException {
public:
    /// `detail` is UTF-8.
    explicit CorvelFatalException(std::string_view detail) : text_("FATAL ERROR: ") {
        text_ += detail;
    }

    /// "FATAL ERROR: " and the detail, in UTF-8.
    const std::string& text() const {
        return text_;
    }

private:
    std::string text_;
};

} // namespace WinConv
