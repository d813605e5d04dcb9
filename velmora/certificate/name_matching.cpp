#include <algorithm>
#include <memory>
#include <new>

#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/name_reader.h"
#include "velmora/certificate/internal/text_reader.h"
#include "velmora/certificate/name.h"

namespace velmora {
namespace {

bool sameText(TextKind kind, Bytes content, TextKind otherKind, Bytes otherContent) noexcept {
  FoldedText ours(kind, content);
  FoldedText theirs(otherKind, otherContent);
  char32_t c = ours.next();
  while (c == theirs.next()) {
    if (c == TextReader::kEnd) return true;
    c = ours.next();
  }
  return false;
}

bool sameAttribute(const AttributeElements& a, const AttributeElements& b) noexcept {
  if (!sameOctets(a.type.content, b.type.content)) return false;
  if (sameOctets(a.value.whole, b.value.whole)) return true;
  const TextKind kind = textKindOf(a.value);
  const TextKind otherKind = textKindOf(b.value);
  return kind != TextKind::none && otherKind != TextKind::none &&
         sameText(kind, a.value.content, otherKind, b.value.content);
}

// The attributes of a multi-valued RDN in an order in which those that match have the same place.
// Texts are written out folded: comparing them is then no more work than the shorter one is long,
// whatever runs of spaces it came with, so that sorting a hostile RDN is not quadratic.
class SortedRdn {
 public:
  SortedRdn(const Asn1Element& rdn, size_t count) noexcept
      : m_texts(new (std::nothrow) unsigned char[kMostUtf8 * rdn.content.size()]),
        m_attributes(new (std::nothrow) Compared[count]),
        m_count(count) {
    if (isReady()) fill(NameReader::ofRdn(rdn.content, rdn.contentOffset()));
  }

  bool operator==(const SortedRdn& other) const noexcept {
    return isReady() && other.isReady() &&
           std::equal(m_attributes.get(), m_attributes.get() + m_count, other.m_attributes.get(),
                      [](const Compared& a, const Compared& b) {
                        return a.isText == b.isText && sameOctets(a.type, b.type) &&
                               sameOctets(a.value, b.value);
                      });
  }

 private:
  struct Compared {
    Bytes type;
    Bytes value;  // folded in UTF-8, or the element whole
    bool isText = false;
  };

  // An octet of T61String takes two in UTF-8; the other types take no more than half as much again.
  static constexpr size_t kMostUtf8 = 2;

  bool isReady() const noexcept { return m_texts != nullptr && m_attributes != nullptr; }

  void fill(NameReader reader) noexcept {
    AttributeElements elements;
    unsigned char* out = m_texts.get();
    for (size_t i = 0; reader.next(elements); ++i) {
      const TextKind kind = textKindOf(elements.value);
      unsigned char* const start = out;
      if (kind != TextKind::none) out = writeFolded(kind, elements.value.content, out);
      const bool isText = kind != TextKind::none;
      const Bytes folded = bytesOf({start, static_cast<size_t>(out - start)});
      m_attributes[i] = {elements.type.content, isText ? folded : elements.value.whole, isText};
    }
    std::sort(m_attributes.get(), m_attributes.get() + m_count, isBefore);
  }

  static unsigned char* writeFolded(TextKind kind, Bytes content, unsigned char* out) noexcept {
    FoldedText text(kind, content);
    for (char32_t c = text.next(); c != TextReader::kEnd; c = text.next()) {
      unsigned char octets[4];
      out = std::copy_n(octets, writeUtf8(c, octets), out);
    }
    return out;
  }

  static bool isBefore(const Compared& a, const Compared& b) noexcept {
    if (a.isText != b.isText) return b.isText;
    const bool sameType = sameOctets(a.type, b.type);
    const Bytes ours = sameType ? a.value : a.type;
    const Bytes theirs = sameType ? b.value : b.type;
    return std::lexicographical_compare(ours.begin(), ours.end(), theirs.begin(), theirs.end());
  }

  std::unique_ptr<unsigned char[]> m_texts;
  std::unique_ptr<Compared[]> m_attributes;
  size_t m_count;
};

size_t attributeCount(const Asn1Element& rdn) noexcept {
  NameReader reader = NameReader::ofRdn(rdn.content, rdn.contentOffset());
  AttributeElements elements;
  size_t count = 0;
  while (reader.next(elements)) ++count;
  return count;
}

// Both are well-formed.
bool sameRdn(const Asn1Element& a, const Asn1Element& b) noexcept {
  if (sameOctets(a.content, b.content)) return true;
  const size_t count = attributeCount(a);
  if (count != attributeCount(b)) return false;
  if (count != 1) return SortedRdn(a, count) == SortedRdn(b, count);
  AttributeElements ours;
  AttributeElements theirs;
  NameReader::ofRdn(a.content, a.contentOffset()).next(ours);
  NameReader::ofRdn(b.content, b.contentOffset()).next(theirs);
  return sameAttribute(ours, theirs);
}

}  // namespace

bool Name::matches(const Name& other) const noexcept {
  if (nameFault(der(), m_at) || nameFault(other.der(), other.m_at)) return false;
  if (sameOctets(der(), other.der())) return true;
  DerReader ours(contentAt(m_block.bytes(), m_at), 0);
  DerReader theirs(contentAt(other.m_block.bytes(), other.m_at), 0);
  while (!ours.atEnd() && !theirs.atEnd()) {
    Asn1Element our;
    Asn1Element their;
    ours.takeAny(our);
    theirs.takeAny(their);
    if (!sameRdn(our, their)) return false;
  }
  return ours.atEnd() && theirs.atEnd();
}

}  // namespace velmora
