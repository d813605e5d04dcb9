#pragma once

// Which way of multiplying a CPU gets.

#include "velmora/support/bignum/arithmetic_path.h"
#include "velmora/support/core/cpu_features.h"
#include "velmora/support/core/target.h"

namespace velmora::vartime {

#if defined(VELMORA_X86_64)
inline constexpr ArithmeticPath kWithoutMulxAdx = ArithmeticPath::kMulAdc;
#else
inline constexpr ArithmeticPath kWithoutMulxAdx = ArithmeticPath::kPortable;
#endif

/// The fastest path that such a CPU can run.
constexpr ArithmeticPath fastestPathOn(const CpuFeatures& cpu) noexcept {
  if (!cpu.hasMulxAdx()) return kWithoutMulxAdx;
  return cpu.hasAvx512Ifma() ? ArithmeticPath::kAvx512Ifma : ArithmeticPath::kMulxAdx;
}

}  // namespace velmora::vartime
