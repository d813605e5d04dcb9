#include "velmora/support/key/ed25519.h"

#include <algorithm>

namespace velmora {

bool Ed25519KeyData::assign(const unsigned char* key32) noexcept {
  std::copy_n(key32, kKeySize, m_octets.begin());
  return m_curve->decode(m_point, key32) && !m_curve->hasSmallOrder(m_point);
}

}  // namespace velmora
