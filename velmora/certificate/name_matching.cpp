#include <algorithm>
#include <new>

#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/name_reader.h"
#include "velmora/certificate/internal/text_reader.h"
#include "velmora/certificate/name.h"
#include "velmora/support/asn1/der_element.h"
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

constexpr size_t kShortHeader = 2;  // of an element whose contents are below 128 octets

// Starts an element whose size is not known yet; gives where.
size_t openElement(uint32_t identifier, std::string& out) {
  const size_t at = out.size();
  const char header[kShortHeader] = {static_cast<char>(identifier), 0};
  out.append(header, sizeof(header));
  return at;
}

// What `out` holds behind its header are its contents.
void closeElement(size_t at, std::string& out) {
  constexpr size_t kMostShort = 127;
  const size_t size = out.size() - at - kShortHeader;
  if (size <= kMostShort) {
    out[at + 1] = static_cast<char>(size);
    return;
  }
  unsigned char length[kMostLengthSize];
  const unsigned char* const end = writeLength(size, length);
  out[at + 1] = static_cast<char>(length[0]);
  out.insert(at + kShortHeader, reinterpret_cast<const char*>(length + 1),
             static_cast<size_t>(end - length) - 1);
}

void appendFoldedText(Bytes content, std::string& out) {
  const size_t start = out.size();
  out.resize(start + content.size());
  const char* const end = writeFolded(charactersOf(content), out.data() + start);
  out.resize(static_cast<size_t>(end - out.data()));
}

void appendFolded(const AttributeElements& attribute, std::string& out) {
  const size_t sequence = openElement(asn1_identifier::kSequence, out);
  out += charactersOf(attribute.type.whole);
  if (isFolded(attribute)) {
    const size_t value = openElement(asn1_tag::kUtf8String, out);
    appendFoldedText(attribute.value.content, out);
    closeElement(value, out);
  } else {
    out += charactersOf(attribute.value.whole);
  }
  closeElement(sequence, out);
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

// Appends the RDN that starts with `attribute`, which becomes the first of the next one; false when
// there is none.
bool appendFoldedRdn(NameReader& reader, AttributeElements& attribute, std::string& out) {
  const uint32_t rdn = attribute.rdn;
  const size_t set = openElement(asn1_identifier::kSet, out);
  std::vector<size_t> ends;  // of an RDN of one attribute not even filled
  appendFolded(attribute, out);
  bool isThere = reader.next(attribute);
  while (isThere && attribute.rdn == rdn) {
    if (ends.empty()) ends.push_back(out.size());
    appendFolded(attribute, out);
    ends.push_back(out.size());
    isThere = reader.next(attribute);
  }
  if (!ends.empty()) sortPieces(set + kShortHeader, ends, out);
  closeElement(set, out);
  return isThere;
}

// The RDN is well-formed.
std::string foldedRdn(const Asn1Element& rdn) {
  std::string out;
  NameReader reader = NameReader::ofRdn(rdn.content, rdn.contentOffset());
  AttributeElements attribute;
  reader.next(attribute);
  appendFoldedRdn(reader, attribute, out);
  return out;
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
  return foldedRdn(a) == foldedRdn(b);
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
  return folded(der());
}

std::optional<std::string> Name::folded(Bytes der) {
  NameReader reader(der, 0);
  std::string out;
  out.reserve(der.size());
  AttributeElements attribute;
  bool isThere = reader.next(attribute);
  while (isThere) isThere = appendFoldedRdn(reader, attribute, out);
  if (reader.fault()) return std::nullopt;
  return out;
}

}  // namespace velmora
