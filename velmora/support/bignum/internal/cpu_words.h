#pragma once

#include "velmora/support/bignum/cpu_features.h"

namespace velmora::vartime {

/// What an x86-64 CPU and its operating system say of themselves, as far as a path rests on it. All
/// zero on every other CPU.
struct CpuWords {
  unsigned leaf7Ebx = 0;     // of CPUID, sub-leaf 0
  unsigned savedStates = 0;  // XCR0: the registers that the system saves; 0 without OSXSAVE

  static constexpr unsigned kBmi2 = 1U << 8;  // these of leaf 7
  static constexpr unsigned kAvx512F = 1U << 16;
  static constexpr unsigned kAdx = 1U << 19;
  static constexpr unsigned kAvx512Ifma = 1U << 21;
  static constexpr unsigned kZmmStates = 0xe6;  // SSE, AVX, opmask, upper ZMM halves, ZMM16-31
};

/// The fastest path that such a CPU can run.
constexpr ArithmeticPath fastestPathOn(const CpuWords& cpu) noexcept {
  const auto has = [&cpu](unsigned features) { return (cpu.leaf7Ebx & features) == features; };
  if (!has(CpuWords::kBmi2 | CpuWords::kAdx)) return ArithmeticPath::kPortable;
  const bool savesZmm = (cpu.savedStates & CpuWords::kZmmStates) == CpuWords::kZmmStates;
  return has(CpuWords::kAvx512F | CpuWords::kAvx512Ifma) && savesZmm ? ArithmeticPath::kAvx512Ifma
                                                                     : ArithmeticPath::kMulxAdx;
}

}  // namespace velmora::vartime
