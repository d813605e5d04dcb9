#include "velmora/support/hash/sip_hash.h"

#include <bit>
#include <chrono>
#include <random>

#include "velmora/support/core/words.h"

namespace velmora {
namespace {

class SipState {
 public:
  SipState(uint64_t k0, uint64_t k1) noexcept
      : m_v0(k0 ^ 0x736f6d6570736575),
        m_v1(k1 ^ 0x646f72616e646f6d),
        m_v2(k0 ^ 0x6c7967656e657261),
        m_v3(k1 ^ 0x7465646279746573) {}

  void add(uint64_t word) noexcept {
    m_v3 ^= word;
    round();
    round();
    m_v0 ^= word;
  }

  uint64_t finish() noexcept {
    m_v2 ^= 0xFF;
    for (int i = 0; i < 4; ++i) round();
    return m_v0 ^ m_v1 ^ m_v2 ^ m_v3;
  }

 private:
  void round() noexcept {
    m_v0 += m_v1;
    m_v1 = std::rotl(m_v1, 13) ^ m_v0;
    m_v0 = std::rotl(m_v0, 32);
    m_v2 += m_v3;
    m_v3 = std::rotl(m_v3, 16) ^ m_v2;
    m_v0 += m_v3;
    m_v3 = std::rotl(m_v3, 21) ^ m_v0;
    m_v2 += m_v1;
    m_v1 = std::rotl(m_v1, 17) ^ m_v2;
    m_v2 = std::rotl(m_v2, 32);
  }

  uint64_t m_v0;
  uint64_t m_v1;
  uint64_t m_v2;
  uint64_t m_v3;
};

uint64_t randomWord(std::random_device& source) {
  return uint64_t{source()} << 32 | source();
}

}  // namespace

SipHash SipHash::withSecretKey() noexcept {
  try {
    std::random_device source;
    const uint64_t k0 = randomWord(source);
    return {k0, randomWord(source)};
  } catch (...) {
    const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
    return {static_cast<uint64_t>(now), reinterpret_cast<uintptr_t>(&now)};
  }
}

uint64_t SipHash::operator()(std::span<const std::byte> bytes) const noexcept {
  SipState state(m_k0, m_k1);
  uint64_t last = uint64_t{bytes.size()} << 56;
  for (; bytes.size() >= sizeof last; bytes = bytes.subspan(sizeof last)) {
    state.add(loadLittleEndian<uint64_t>(bytes.data()));
  }
  for (size_t i = 0; i < bytes.size(); ++i) last |= std::to_integer<uint64_t>(bytes[i]) << (8 * i);
  state.add(last);
  return state.finish();
}

}  // namespace velmora
