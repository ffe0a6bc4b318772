#pragma once

#include <span>

namespace Crypto {

/// The certificates (DER) of the two built-in authorities, embedded by the build.
extern const std::span<const unsigned char> release_ca;
extern const std::span<const unsigned char> developer_ca;

} // namespace Crypto
