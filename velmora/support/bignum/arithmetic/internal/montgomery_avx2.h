#pragma once

// Montgomery multiplication on AVX2.

#include "velmora/support/bignum/arithmetic/montgomery.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
/// The kernel on words of 27 bits for moduli of so many bits and CPUs with AVX2, which may run only
/// there; null for lengths that mulx is as fast for, up to 1,536 bits, and above 8,192, of which
/// there would be more words than are kept. It has no final subtraction, so that its numbers stay
/// below twice the modulus.
const MontgomeryKernel* montgomeryAvx2Kernel(size_t bits) noexcept;
#endif

}  // namespace velmora::vartime
