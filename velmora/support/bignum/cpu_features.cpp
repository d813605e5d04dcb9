#include "velmora/support/bignum/cpu_features.h"

#include "velmora/support/bignum/internal/cpu_words.h"

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace velmora::vartime {

namespace {

#if defined(__x86_64__)
// Only valid when CPUID reports OSXSAVE.
unsigned savedRegisterStates() {
  unsigned low = 0;
  unsigned high = 0;
  asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

CpuWords readCpuWords() {
  constexpr unsigned kOsXsave = 1U << 27;
  unsigned a = 0, b = 0, c = 0, d = 0;
  CpuWords words;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0) return words;
  if ((c & kOsXsave) != 0) words.savedStates = savedRegisterStates();
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d) != 0) words.leaf7Ebx = b;
  return words;
}
#else
CpuWords readCpuWords() {
  return {};
}
#endif

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
  return path <= bestArithmeticPath();
}

ArithmeticPath bestArithmeticPath() noexcept {
  static const ArithmeticPath best = fastestPathOn(readCpuWords());
  return best;
}

}  // namespace velmora::vartime
