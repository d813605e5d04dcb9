#pragma once

#include <cstdint>
#include <span>

namespace velmora {

/// The Adler-32 checksum of RFC 1950 §8.2 over `bytes`, going on from `start`, the checksum of what
/// came before them (1 for nothing).
uint32_t adler32(std::span<const unsigned char> bytes, uint32_t start = 1) noexcept;

}  // namespace velmora
