#pragma once

// Inverses modulo an odd number.

#include "velmora/support/bignum/arithmetic/limbs.h"

namespace velmora::vartime {

/// Longest modulus of inverseMod: 576 bits.
inline constexpr size_t kMaxInverseLimbs = 9;

/// r = 1 / a modulo an odd modulus above 1, for a below it; n limbs each (n at most
/// kMaxInverseLimbs). False, with r unchanged, when a has no inverse (0 has none). r may be a.
bool inverseMod(Limb* r, const Limb* a, const Limb* modulus, size_t n) noexcept;

}  // namespace velmora::vartime
