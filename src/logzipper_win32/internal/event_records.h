#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace LogZipper {

/// Appends the text of the agent's records and of application crashes to `text` (UTF-8) and skips all other records.
/// `batch` contains records as ReadEventLogW returns them. Returns the number of damaged records: each of them is left
/// out, and if its length is invalid, so is the rest of the batch. Never reads outside the batch.
std::size_t render_event_records(std::span<const std::byte> batch, std::string& text);

} // namespace LogZipper
