#include "velmora/support/core/cpu_features.h"

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)
#include <cpuid.h>
#endif

namespace velmora {
namespace {

#if defined(VELMORA_X86_64)
// Only valid when CPUID reports OSXSAVE.
unsigned savedRegisterStates() noexcept {
  unsigned low = 0;
  unsigned high = 0;
  asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

CpuFeatures readCpuFeatures() noexcept {
  unsigned a = 0, b = 0, c = 0, d = 0;
  CpuFeatures features;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0) return features;
  features.leaf1Ecx = c;
  if ((c & CpuFeatures::kOsXsave) != 0) features.savedStates = savedRegisterStates();
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d) != 0) features.leaf7Ebx = b;
  return features;
}
#else
CpuFeatures readCpuFeatures() noexcept {
  return {};
}
#endif

}  // namespace

const CpuFeatures& cpuFeatures() noexcept {
  static const CpuFeatures features = readCpuFeatures();
  return features;
}

}  // namespace velmora
