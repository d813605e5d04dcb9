#include "support/bignum/cpu_features.h"

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace velmora::vartime {

namespace {

struct CpuFeatures {
  bool bmi2Adx = false;
  bool avx512Ifma = false;
};

#if defined(__x86_64__)
// XCR0: which register states the operating system saves. Only valid when CPUID reports OSXSAVE.
unsigned savedRegisterStates() {
  unsigned low = 0;
  unsigned high = 0;
  asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

CpuFeatures detectCpuFeatures() {
  constexpr unsigned kOsXsave = 1U << 27;
  constexpr unsigned kBmi2 = 1U << 8;
  constexpr unsigned kAvx512F = 1U << 16;
  constexpr unsigned kAdx = 1U << 19;
  constexpr unsigned kAvx512Ifma = 1U << 21;
  constexpr unsigned kZmmStates = 0xe6;  // SSE, AVX, opmask, upper ZMM halves, ZMM16-31
  unsigned a = 0, b = 0, c = 0, d = 0;
  CpuFeatures features;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0) return features;
  const bool hasXgetbv = (c & kOsXsave) != 0;
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) return features;
  features.bmi2Adx = (b & kBmi2) != 0 && (b & kAdx) != 0;
  features.avx512Ifma = features.bmi2Adx && (b & kAvx512F) != 0 && (b & kAvx512Ifma) != 0 &&
                        hasXgetbv && (savedRegisterStates() & kZmmStates) == kZmmStates;
  return features;
}
#else
CpuFeatures detectCpuFeatures() {
  return {};
}
#endif

const CpuFeatures& cpuFeatures() {
  static const CpuFeatures features = detectCpuFeatures();
  return features;
}

}  // namespace

const char* arithmeticPathName(ArithmeticPath path) noexcept {
  switch (path) {
    case ArithmeticPath::kMulxAdx:
      return "mulx/adx";
    case ArithmeticPath::kAvx512Ifma:
      return "AVX-512 IFMA";
    default:
      return "portable";
  }
}

bool arithmeticPathSupported(ArithmeticPath path) noexcept {
  switch (path) {
    case ArithmeticPath::kMulxAdx:
      return cpuFeatures().bmi2Adx;
    case ArithmeticPath::kAvx512Ifma:
      return cpuFeatures().avx512Ifma;
    default:
      return true;
  }
}

ArithmeticPath bestArithmeticPath() noexcept {
  const CpuFeatures& features = cpuFeatures();
  if (features.avx512Ifma) return ArithmeticPath::kAvx512Ifma;
  return features.bmi2Adx ? ArithmeticPath::kMulxAdx : ArithmeticPath::kPortable;
}

}  // namespace velmora::vartime
