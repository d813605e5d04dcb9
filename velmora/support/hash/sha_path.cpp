#include "velmora/support/hash/sha_path.h"

#include "velmora/support/core/cpu_features.h"
#include "velmora/support/hash/internal/sha_rounds.h"
#include "velmora/support/hash/internal/sha_x86.h"

namespace velmora {
namespace {

void sha1Portable(uint32_t* state, const unsigned char* blocks, size_t count) noexcept {
  sha_rounds::sha1Blocks(state, blocks, count);
}

void sha256Portable(uint32_t* state, const unsigned char* blocks, size_t count) noexcept {
  sha_rounds::sha2Blocks<sha_rounds::Sha256Shape>(state, blocks, count);
}

void sha512Portable(uint64_t* state, const unsigned char* blocks, size_t count) noexcept {
  sha_rounds::sha2Blocks<sha_rounds::Sha512Shape>(state, blocks, count);
}

struct PathList {
  ShaPath paths[4] = {{"portable", sha1Portable, sha256Portable, sha512Portable}};
  size_t count = 1;

  PathList() noexcept {
#if VELMORA_SHA_X86
    using namespace sha_x86;
    const CpuFeatures& cpu = cpuFeatures();
    if (cpu.hasBmi2()) paths[count++] = {"bmi2", sha1Bmi2, sha256Bmi2, sha512Bmi2};
    if (cpu.hasAvx() && cpu.hasBmi2()) paths[count++] = {"avx", sha1Bmi2, sha256Bmi2, sha512Avx};
    if (cpu.hasSha()) {
      // The extensions hold nothing for SHA-512, and not every CPU that has them has AVX or BMI2.
      const auto sha512 = paths[count - 1].sha512;
      paths[count++] = {"sha extensions", sha1Extensions, sha256Extensions, sha512};
    }
#endif
  }
};

}  // namespace

std::span<const ShaPath> shaPaths() noexcept {
  static const PathList list;
  return {list.paths, list.count};
}

const ShaPath& fastestShaPath() noexcept {
  return shaPaths().back();
}

}  // namespace velmora
