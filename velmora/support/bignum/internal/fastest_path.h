#pragma once

// Which way of multiplying a CPU gets.

#include "velmora/support/bignum/arithmetic_path.h"
#include "velmora/support/core/cpu_features.h"

namespace velmora::vartime {

/// The fastest path that such a CPU can run.
constexpr ArithmeticPath fastestPathOn(const CpuFeatures& cpu) noexcept {
  if (!cpu.hasMulxAdx()) return ArithmeticPath::kPortable;
  return cpu.hasAvx512Ifma() ? ArithmeticPath::kAvx512Ifma : ArithmeticPath::kMulxAdx;
}

}  // namespace velmora::vartime
