#include "velmora/support/text/utf16_stream.h"

#include "velmora/support/text/encoding_convert.h"
#include "velmora/support/text/unicode.h"

namespace velmora {

bool Utf16Stream::convert(std::string_view bytes, StringBuffer& out) noexcept {
  for (const char byte : bytes) {
    m_held[m_heldSize++] = static_cast<unsigned char>(byte);
    if (m_heldSize % 2 != 0) continue;
    const unsigned char* at = m_held.data();
    const char32_t c = readUtf16(at, at + m_heldSize, m_bigEndian);
    const bool mayBeHalf = m_heldSize == 2;
    if (c == kInvalidSequence && mayBeHalf) continue;
    m_heldSize = 0;
    if (c == kInvalidSequence || !appendCodePointUtf8(c, out)) return false;
  }
  return true;
}

}  // namespace velmora
