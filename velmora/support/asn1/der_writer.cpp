#include "velmora/support/asn1/internal/der_writer.h"

namespace velmora {

bool DerWriter::makeRoom() noexcept {
  constexpr size_t kUsualSize = 2048;
  constexpr size_t kUsualConstructed = 64;
  if (!m_der.reserve(m_der.size() + kUsualSize)) return false;
  if (m_constructed.reserve(kUsualConstructed)) return true;
  m_der.markFailed();
  return false;
}

bool DerWriter::put(const DerIdentifier& id, std::span<const unsigned char> content) noexcept {
  return putMade(id, content.size(), [content](unsigned char* out, size_t& size) {
    size = content.size();
    if (size != 0) std::memcpy(out, content.data(), size);
    return true;
  });
}

bool DerWriter::finish() noexcept {
  size_t from = m_der.size();
  if (m_der.extend(m_headersSize) == nullptr) return false;
  unsigned char* const der = m_der.data();
  size_t to = m_der.size();
  for (size_t i = m_constructed.size(); i-- > 0;) {
    const Constructed& element = m_constructed[i];
    const size_t moved = from - element.start;
    to -= moved;
    std::memmove(der + to, der + element.start, moved);
    from = element.start;
    to -= identifierSize(element.identifier.number) + lengthSize(element.contentSize);
    writeLength(element.contentSize, writeIdentifier(element.identifier, der + to));
  }
  return true;
}

}  // namespace velmora
