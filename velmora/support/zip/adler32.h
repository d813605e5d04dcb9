#pragma once

// The checksum at the end of a zlib stream.

#include <cstdint>
#include <span>

namespace velmora {

/// The Adler-32 checksum of RFC 1950 §8.2.
uint32_t adler32(std::span<const unsigned char> bytes) noexcept;

}  // namespace velmora
