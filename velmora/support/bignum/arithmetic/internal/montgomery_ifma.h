#pragma once

// Montgomery multiplication on AVX-512 IFMA.

#include "velmora/support/bignum/arithmetic/montgomery.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
/// The kernel on words of 52 bits for CPUs with AVX-512 IFMA, which may run only there. It has no
/// final subtraction, so that its numbers stay below twice the modulus.
const MontgomeryKernel& montgomeryIfmaKernel() noexcept;
#endif

}  // namespace velmora::vartime
