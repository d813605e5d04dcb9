#pragma once

// Montgomery multiplication on AVX-512 IFMA.

#include "velmora/support/bignum/arithmetic/montgomery.h"

namespace velmora::vartime {

#if defined(__x86_64__)
/// The kernel on words of 52 bits for CPUs with AVX-512 IFMA, which may run only there. It has no
/// final subtraction, so that its numbers stay below twice the modulus.
const MontgomeryKernel& montgomeryIfmaKernel() noexcept;
#endif

}  // namespace velmora::vartime
