#include "velmora/support/core/cpu_features.h"

#include <gtest/gtest.h>

#include <string>
#include "velmora/support/core/target.h"

namespace velmora {
namespace {

using F = CpuFeatures;

std::string names(const F& cpu) {
  std::string all;
  if (cpu.hasBmi2()) all += "bmi2 ";
  if (cpu.hasMulxAdx()) all += "mulx ";
  if (cpu.hasAvx()) all += "avx ";
  if (cpu.hasAvx2()) all += "avx2 ";
  if (cpu.hasAvx512Ifma()) all += "ifma ";
  if (cpu.hasSha()) all += "sha ";
  return all;
}

TEST(CpuFeaturesTest, EachRestsOnAllItsBits) {
  const struct {
    F without;
    const char* names;
  } cases[] = {
      {{}, "bmi2 mulx avx avx2 ifma sha "},
      {{F::kSsse3, 0, 0}, "bmi2 mulx avx avx2 ifma "},
      {{F::kSse41, 0, 0}, "bmi2 mulx avx avx2 ifma "},
      {{F::kAvx, 0, 0}, "bmi2 mulx ifma sha "},
      {{0, F::kAvx2, 0}, "bmi2 mulx avx ifma sha "},
      {{0, F::kBmi2, 0}, "avx avx2 ifma sha "},
      {{0, F::kAdx, 0}, "bmi2 avx avx2 ifma sha "},
      {{0, F::kAvx512F, 0}, "bmi2 mulx avx avx2 sha "},
      {{0, F::kAvx512Ifma, 0}, "bmi2 mulx avx avx2 sha "},
      {{0, F::kAvx512Vl, 0}, "bmi2 mulx avx avx2 sha "},
      {{0, F::kSha, 0}, "bmi2 mulx avx avx2 ifma "},
      {{0, 0, 0x04}, "bmi2 mulx sha "},           // no upper halves of YMM are saved
      {{0, 0, 0x80}, "bmi2 mulx avx avx2 sha "},  // ZMM16 to ZMM31 are not
      {{~0U, ~0U, ~0U}, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(names({~c.without.leaf1Ecx, ~c.without.leaf7Ebx, ~c.without.savedStates}), c.names);
  }
}

#if defined(VELMORA_X86_64)
TEST(CpuFeaturesTest, AreThoseThatTheCompilerKnowsOf) {
  EXPECT_EQ(cpuFeatures().hasBmi2(), __builtin_cpu_supports("bmi2") != 0);
  EXPECT_EQ(cpuFeatures().hasAvx(), __builtin_cpu_supports("avx") != 0);
  EXPECT_EQ(cpuFeatures().hasAvx2(), __builtin_cpu_supports("avx2") != 0);
  EXPECT_EQ(cpuFeatures().hasAvx512Ifma(),
            __builtin_cpu_supports("avx512ifma") != 0 && __builtin_cpu_supports("avx512vl") != 0);
}
#endif

}  // namespace
}  // namespace velmora
