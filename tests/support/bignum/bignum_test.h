#pragma once

#include <vector>

#include "tests/common/each_path.h"
#include "tests/common/key_value_file.h"
#include "velmora/support/bignum/arithmetic/limbs.h"
#include "velmora/support/bignum/curves/curve.h"

namespace velmora::vartime {

using test::EachPath;
using test::KeyValueRecord;
using Limbs = std::vector<Limb>;

inline std::string vectorFile(const std::string& name) {
  return std::string(VELMORA_SOURCE_DIR "/tests/data/bignum/") + name;
}

/// The number in hexadecimal digits, in `n` limbs or as few as hold it.
inline Limbs fromHex(const std::string& digits, size_t n = 0) {
  Limbs limbs(n != 0 ? n : (digits.size() + 15) / 16);
  for (size_t i = 0; i < digits.size(); ++i) {
    const Limb digit = std::stoul(digits.substr(digits.size() - 1 - i, 1), nullptr, 16);
    if (i / 16 < limbs.size()) limbs[i / 16] |= digit << (i % 16 * 4);
    EXPECT_TRUE(i / 16 < limbs.size() || digit == 0) << digits << " is too long";
  }
  return limbs;
}

inline std::vector<std::uint8_t> bytesFromHex(const std::string& digits) {
  std::vector<std::uint8_t> bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

/// The two numbers of "x y", each in n limbs.
inline void readPair(const std::string& text, Limb* x, Limb* y, size_t n) {
  const size_t space = text.find(' ');
  copyLimbs(x, fromHex(text.substr(0, space), n).data(), n);
  copyLimbs(y, fromHex(text.substr(space + 1), n).data(), n);
}

/// Numbers that are the same in every run, with runs of zero and one bits among them.
class Numbers {
 public:
  Limb limb() {
    m_state ^= m_state << 13;
    m_state ^= m_state >> 7;
    m_state ^= m_state << 17;
    const Limb kind = m_state >> 60;
    return kind == 0 ? 0 : kind == 1 ? ~Limb{0} : kind == 2 ? m_state >> 40 : m_state;
  }

  Limbs limbs(size_t n) {
    Limbs r(n);
    for (Limb& l : r) l = limb();
    return r;
  }

 private:
  Limb m_state = 0x9e3779b97f4a7c15;
};

}  // namespace velmora::vartime
