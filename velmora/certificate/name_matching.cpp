#include <algorithm>
#include <new>

#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/name_reader.h"
#include "velmora/certificate/internal/text_reader.h"
#include "velmora/certificate/name.h"
#include "velmora/support/text/folded_text.h"

namespace velmora {
namespace {

// Whether the value is compared by its characters.
bool isFolded(const AttributeElements& attribute) noexcept {
  const TextKind kind = stringType(attribute.value.header);
  const Bytes type = attribute.type.content;
  const bool mayBe = kind == TextKind::utf8 || kind == TextKind::printable ||
                     (kind == TextKind::ia5 && (sameOctets(type, oid::emailAddress.der()) ||
                                                sameOctets(type, oid::domainComponent.der())));
  return mayBe && textKindOf(attribute.value) == kind;
}

bool sameFolded(Bytes a, Bytes b) noexcept {
  FoldedText ours(charactersOf(a));
  FoldedText theirs(charactersOf(b));
  int c = ours.next();
  while (c == theirs.next()) {
    if (c == FoldedText::kEnd) return true;
    c = ours.next();
  }
  return false;
}

bool sameAttribute(const AttributeElements& a, const AttributeElements& b) noexcept {
  if (!sameOctets(a.type.content, b.type.content)) return false;
  return sameOctets(a.value.whole, b.value.whole) ||
         (isFolded(a) && isFolded(b) && sameFolded(a.value.content, b.value.content));
}

// Makes what `out` holds from `start` on the contents of an element.
void enclose(unsigned char identifier, size_t start, std::string& out) {
  const size_t size = out.size() - start;
  const size_t following = lengthSize(size) - 1;
  char header[2 + sizeof(size)];
  header[0] = static_cast<char>(identifier);
  header[1] = static_cast<char>(following == 0 ? size : 0x80 | following);
  for (size_t i = 0; i < following; ++i) {
    header[2 + i] = static_cast<char>(size >> 8 * (following - 1 - i));
  }
  out.insert(start, header, 2 + following);
}

constexpr unsigned char kUtf8Identifier = asn1_tag::kUtf8String,
                        kSequenceIdentifier = 0x20 | asn1_tag::kSequence,
                        kSetIdentifier = 0x20 | asn1_tag::kSet;

void appendFolded(const AttributeElements& attribute, std::string& out) {
  const size_t start = out.size();
  out += charactersOf(attribute.type.whole);
  if (isFolded(attribute)) {
    const size_t valueStart = out.size();
    FoldedText text(charactersOf(attribute.value.content));
    for (int c = text.next(); c != FoldedText::kEnd; c = text.next()) out += static_cast<char>(c);
    enclose(kUtf8Identifier, valueStart, out);
  } else {
    out += charactersOf(attribute.value.whole);
  }
  enclose(kSequenceIdentifier, start, out);
}

// Sorts the pieces of `out` from `start` on, each of which ends where `ends` says.
void sortPieces(size_t start, const std::vector<size_t>& ends, std::string& out) {
  const std::string unsorted = out.substr(start);
  std::vector<std::string_view> pieces;
  pieces.reserve(ends.size());
  size_t at = 0;
  for (const size_t end : ends) {
    pieces.push_back(std::string_view(unsorted).substr(at, end - start - at));
    at = end - start;
  }
  std::sort(pieces.begin(), pieces.end());
  out.resize(start);
  for (const std::string_view piece : pieces) out += piece;
}

// The RDN is well-formed.
void appendFolded(const Asn1Element& rdn, std::string& out) {
  const size_t start = out.size();
  NameReader reader = NameReader::ofRdn(rdn.content, rdn.contentOffset());
  AttributeElements attribute;
  reader.next(attribute);
  appendFolded(attribute, out);
  if (reader.next(attribute)) {
    std::vector<size_t> ends = {out.size()};
    do {
      appendFolded(attribute, out);
      ends.push_back(out.size());
    } while (reader.next(attribute));
    sortPieces(start, ends, out);
  }
  enclose(kSetIdentifier, start, out);
}

bool isSingleValued(const Asn1Element& rdn, AttributeElements& attribute) noexcept {
  NameReader reader = NameReader::ofRdn(rdn.content, rdn.contentOffset());
  AttributeElements another;
  reader.next(attribute);
  return !reader.next(another);
}

// Both are well-formed. Allocates only for RDNs of several attributes.
bool sameRdn(const Asn1Element& a, const Asn1Element& b) {
  if (sameOctets(a.content, b.content)) return true;
  AttributeElements ours;
  AttributeElements theirs;
  const bool isSingle = isSingleValued(a, ours);
  if (isSingle != isSingleValued(b, theirs)) return false;
  if (isSingle) return sameAttribute(ours, theirs);
  std::string ourFolded;
  std::string theirFolded;
  appendFolded(a, ourFolded);
  appendFolded(b, theirFolded);
  return ourFolded == theirFolded;
}

bool sameRdns(DerReader ours, DerReader theirs) {
  Asn1Element our;
  Asn1Element their;
  while (!ours.atEnd() && !theirs.atEnd()) {
    ours.takeAny(our);
    theirs.takeAny(their);
    if (!sameRdn(our, their)) return false;
  }
  return ours.atEnd() && theirs.atEnd();
}

}  // namespace

bool Name::matches(const Name& other) const noexcept try {
  if (nameFault(der(), m_at) || nameFault(other.der(), other.m_at)) return false;
  return sameOctets(der(), other.der()) ||
         sameRdns(DerReader(contentAt(m_block.bytes(), m_at), 0),
                  DerReader(contentAt(other.m_block.bytes(), other.m_at), 0));
} catch (const std::bad_alloc&) {
  return false;
}

std::optional<std::string> Name::folded() const {
  if (nameFault(der(), m_at)) return std::nullopt;
  std::string out;
  out.reserve(m_size);
  DerReader rdns(contentAt(m_block.bytes(), m_at), 0);
  Asn1Element rdn;
  while (rdns.takeAny(rdn)) appendFolded(rdn, out);
  return out;
}

}  // namespace velmora
