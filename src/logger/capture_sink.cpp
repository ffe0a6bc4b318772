#include "logger/capture_sink.h"

#include <cstddef>

namespace Logger {

namespace {

constexpr std::size_t initial_capacity = 65536;

} // namespace

CaptureSink::CaptureSink() {
    buffer_.reserve(initial_capacity);
}

void CaptureSink::write(const Statement& statement) {
    if (disabled_) {
        return;
    }
    buffer_ += statement.message;
    buffer_ += '\n';
}

} // namespace Logger
