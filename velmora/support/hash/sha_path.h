#pragma once

// The ways of computing SHA-1 and SHA-2, and which of them this CPU gets.

#include <cstddef>
#include <cstdint>
#include <span>

#include "velmora/support/core/export.h"

namespace velmora {

/// One implementation of the compression functions of FIPS 180-4 §6. Each function folds `count`
/// whole blocks (64 bytes for SHA-1 and SHA-256, 128 bytes for SHA-512), which may lie at any
/// address, into the state.
struct ShaPath {
  const char* name;
  void (*sha1)(uint32_t state[5], const unsigned char* blocks, size_t count) noexcept;
  void (*sha256)(uint32_t state[8], const unsigned char* blocks, size_t count) noexcept;
  void (*sha512)(uint64_t state[8], const unsigned char* blocks, size_t count) noexcept;
};

/// The implementations that this CPU can run: the portable one first, the fastest last. Found once;
/// safe to call from any thread.
VELMORA_API std::span<const ShaPath> shaPaths() noexcept;

/// The implementation used unless a digest is told otherwise.
VELMORA_API const ShaPath& fastestShaPath() noexcept;

}  // namespace velmora
