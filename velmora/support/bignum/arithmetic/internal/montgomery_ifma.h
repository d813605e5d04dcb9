#pragma once

// Montgomery multiplication on AVX-512 IFMA.

#include "velmora/support/bignum/arithmetic/montgomery.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
/// The kernel on words of 52 bits for moduli of so many bits and CPUs with AVX-512 IFMA, which may
/// run only there; null for lengths that mulx is faster for: up to 512 bits, since the shortest
/// kernel is one for 1,024, and above 4,158, whose sums no longer fit the registers. A kernel is
/// for numbers of `multiple` words and no others. It has no final subtraction, so that its numbers
/// stay below twice the modulus.
const MontgomeryKernel* montgomeryIfmaKernel(size_t bits) noexcept;
#endif

}  // namespace velmora::vartime
