#pragma once

#include <string>
#include <string_view>

namespace WinConv {

/// Reports that the current command cannot continue. Not derived from std::exception, so that handlers for ordinary
/// failures do not catch it.
class CorvelFatalException {
public:
    /// `detail` is UTF-8.
    explicit CorvelFatalException(std::string_view detail) : text_("FATAL ERROR: ") {
        text_ += detail;
    }

    /// Returns "FATAL ERROR: " and the detail, in UTF-8.
    const std::string& text() const {
        return text_;
    }

private:
    std::string text_;
};

} // namespace WinConv
