#include "velmora/support/bignum/arithmetic_path.h"

#include "velmora/support/bignum/internal/fastest_path.h"

namespace velmora::vartime {

const char* arithmeticPathName(ArithmeticPath path) noexcept {
  switch (path) {
    case ArithmeticPath::kMulAdc:
      return "mul/adc";
    case ArithmeticPath::kMulxAdx:
      return "mulx/adx";
    case ArithmeticPath::kAvx512Ifma:
      return "AVX-512 IFMA";
    default:
      return "portable";
  }
}

bool arithmeticPathSupported(ArithmeticPath path) noexcept {
  return path <= bestArithmeticPath();
}

ArithmeticPath bestArithmeticPath() noexcept {
  static const ArithmeticPath best = fastestPathOn(cpuFeatures());
  return best;
}

}  // namespace velmora::vartime
