#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace LogZipper {

/// Appends the text of the agent's records and of application crashes in a batch of event records, as ReadEventLogW
/// stores them, to `text` (UTF-8); other records are skipped. Returns false at a record that is damaged, which ends the
/// batch: the text of those before it stands. Never reads outside the batch.
bool render_event_records(std::span<const std::byte> batch, std::string& text);

} // namespace LogZipper
