#pragma once

#include <span>

namespace Crypto {

/// The certificates (DER) of the authorities that the build was given.
extern const std::span<const unsigned char> release_ca;
extern const std::span<const unsigned char> developer_ca;

} // namespace Crypto
