#pragma once

// The ways of computing, and which of them this CPU gets.

#include "velmora/support/core/export.h"

namespace velmora::vartime {

/// The ways in which this floor can multiply, from the slowest; each gives the same results, and a
/// CPU that can run one can run those before it.
enum class ArithmeticPath {
  kPortable,    ///< C++ alone
  kMulAdc,      ///< what every x86-64 CPU has
  kMulxAdx,     ///< x86-64 with BMI2 and ADX: two carry chains side by side; AVX2, which hardly any
                ///< of these CPUs is without, for moduli of 1,537 to 8,192 bits
  kAvx512Ifma,  ///< x86-64 with AVX-512 IFMA for moduli of 513 to 4,158 bits and for the curves
                ///< that gain by four lanes, kMulxAdx for the rest
};

inline constexpr ArithmeticPath kArithmeticPaths[] = {
    ArithmeticPath::kPortable, ArithmeticPath::kMulAdc, ArithmeticPath::kMulxAdx,
    ArithmeticPath::kAvx512Ifma};

/// The name of a path, for people.
VELMORA_API const char* arithmeticPathName(ArithmeticPath path) noexcept;

/// True when this build and this CPU (and its operating system) can run the path.
VELMORA_API bool arithmeticPathSupported(ArithmeticPath path) noexcept;

/// The fastest path that is supported; found once. Any thread.
VELMORA_API ArithmeticPath bestArithmeticPath() noexcept;

}  // namespace velmora::vartime
