#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace LogZipper {

/// Appends the text of the agent's records and of application crashes in a batch of event records, as ReadEventLogW
/// stores them, to `text` (UTF-8); other records are skipped. Returns how many records are damaged: such a one is left
/// out, and ends the batch if not even its length is sound. Never reads outside the batch.
std::size_t render_event_records(std::span<const std::byte> batch, std::string& text);

} // namespace LogZipper
