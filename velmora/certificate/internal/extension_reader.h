#pragma once

// What the readers of extension values are written with.

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/octets.h"

namespace velmora {

/// The tag that an ASN.1 production asks for; implicit tagging is a tag in place of another.
struct Tag {
  Asn1Class tagClass;
  uint32_t number;

  // The octet of the identifier; every number is below 31.
  constexpr uint32_t identifier(bool constructed) const noexcept {
    return static_cast<uint32_t>(tagClass) << 6 | (constructed ? 0x20U : 0U) | number;
  }
};
constexpr Tag universal(uint32_t number) noexcept {
  return {Asn1Class::kUniversal, number};
}
constexpr Tag context(uint32_t number) noexcept {
  return {Asn1Class::kContextSpecific, number};
}
inline constexpr Tag kSequenceTag = universal(asn1_tag::kSequence);

/// Reads the value of an extension in the words of its ASN.1 production, to the letter of X.690.
/// The first thing that does not fit is a fault, which is noted with its offset; from then on every
/// reader of that value is at its end and gives empty answers, so that a production need not ask.
/// Tolerated is what changes no meaning and real certificates do: a default that is encoded, and
/// zero bits at the end of a named bit list.
class ExtensionReader {
 public:
  /// How many members the lists in one value may have together. Each may be two octets of DER, and
  /// up to 184 as what it is read into.
  static constexpr size_t kMaxMembers = 65'536;

  /// What the readers of one value share.
  struct Source {
    const BlockRef& block;  // the certificate
    Strictness strictness = Strictness::strict;
    bool keeps = true;  // else what is read is checked alone, and answers are empty: no memory
    std::optional<size_t> fault = {};
    bool isPlain = true;  // all was seen: nothing came for which look() was called
    size_t membersLeft = kMaxMembers;
    bool hasTooMany = false;
  };

  ExtensionReader(Source& source, Bytes bytes, size_t offset) noexcept
      : m_source(source), m_members(bytes, offset) {}

  bool atEnd() const noexcept { return m_source.fault || m_members.atEnd(); }
  bool hasFault() const noexcept { return m_source.fault.has_value(); }
  bool isNext(Tag tag) const noexcept {
    const bool fits =
        m_members.startsWith(tag.identifier(false)) || m_members.startsWith(tag.identifier(true));
    DerReader look = m_members;
    Asn1Element found;
    return fits && !m_source.fault && look.takeAny(found);
  }
  size_t offset() const noexcept { return m_members.offset(); }
  const BlockRef& block() const noexcept { return m_source.block; }
  Strictness strictness() const noexcept { return m_source.strictness; }
  /// Whether what is read is kept. Only how much is built may depend on it, never what is a fault.
  bool keeps() const noexcept { return m_source.keeps; }
  /// Notes that something was read which departures() has to look at by itself: ANY, a name that
  /// may depart or is malformed, and what is tolerated. Whatever else a strict reader takes is DER
  /// in all that X.690 says of it.
  void look() noexcept { m_source.isPlain = false; }

  /// A reader of the same kind whose fault is its own.
  Source apart() const noexcept { return {m_source.block, m_source.strictness, m_source.keeps}; }

  /// Notes a fault, unless there is one.
  void refuse(size_t offset) noexcept {
    if (!m_source.fault) m_source.fault = offset;
  }
  /// The same for what has a plain meaning, which is no fault to a lenient reader.
  void object(size_t offset) noexcept {
    if (strictness() == Strictness::strict) refuse(offset);
  }
  /// What is left does not belong there.
  void end() noexcept {
    if (!atEnd()) refuse(m_members.offset());
  }

  // Each of these takes the element that has to come next. What they give of one that does not, or
  // is not of its type, is empty or 0.

  /// A constructed element; `read` gets a reader of its members and has to take them all.
  template <class Read>
  void members(Tag tag, Read read) {
    ExtensionReader inside = enter(tag);
    read(inside);
    inside.end();
  }
  template <class Read>
  void sequence(Read read) {
    members(kSequenceTag, read);
  }

  /// SEQUENCE OF: what `readMember`, which takes one member, gives of each.
  template <class T, class Read>
  std::vector<T> listOf(Tag tag, Read readMember) {
    std::vector<T> list;
    members(tag, [&](ExtensionReader& inside) { inside.appendEach(list, readMember); });
    return list;
  }
  /// SEQUENCE SIZE (1..MAX) OF.
  template <class T, class Read>
  std::vector<T> oneOrMoreOf(Tag tag, Read readMember) {
    const size_t at = offset();
    std::vector<T> list;
    members(tag, [&](ExtensionReader& inside) {
      if (inside.atEnd()) inside.refuse(at);
      inside.appendEach(list, readMember);
    });
    return list;
  }

  /// BOOLEAN DEFAULT FALSE: FF or 00.
  bool booleanOrFalse(Tag tag = universal(asn1_tag::kBoolean)) noexcept;
  /// INTEGER (0..MAX): what 64 bits do not hold is UINT64_MAX.
  uint64_t unsignedInteger(Tag tag = universal(asn1_tag::kInteger)) noexcept;
  /// INTEGER: what 64 bits do not hold is INT64_MAX or INT64_MIN.
  int64_t integer() noexcept;
  /// INTEGER: its content octets.
  Bytes integerOctets(Tag tag = universal(asn1_tag::kInteger)) noexcept;
  /// A BIT STRING of named bits, bit 0 the lowest; those from 9 on, which no standard names here,
  /// are left out.
  uint16_t namedBits(Tag tag = universal(asn1_tag::kBitString)) noexcept;
  /// OCTET STRING: its content octets.
  Bytes octets(Tag tag = universal(asn1_tag::kOctetString)) noexcept {
    return primitive(tag).content;
  }
  void null() noexcept;
  /// OBJECT IDENTIFIER: its content octets.
  Bytes objectId(Tag tag = universal(asn1_tag::kOid)) noexcept;
  /// As values, when something is kept.
  Oid oidOf(Bytes id) const noexcept { return keeps() ? Oid::fromDer(id) : Oid(); }
  Octets copyOf(Bytes octets) const {
    return keeps() ? Octets(octets.begin(), octets.end()) : Octets();
  }
  /// IA5String.
  std::string ascii(Tag tag = universal(asn1_tag::kIa5String));
  /// A string of one of the types, in UTF-8.
  std::string text(std::initializer_list<TextKind> kinds);
  /// ANY: one element of DER, down to its last member.
  Bytes any() noexcept;
  /// The next element, whatever it is; what is in it is not looked at.
  Asn1Element element() noexcept {
    Asn1Element taken;
    if (m_source.fault || !m_members.takeAny(taken)) refuse(offset());
    return taken;
  }
  /// How many elements are left, so that room for them is taken once.
  size_t count() const noexcept;
  /// To be called before each member of a list is read: whether there is one. One too many of all
  /// lists together is a fault.
  bool hasMember() noexcept {
    if (atEnd()) return false;
    if (m_source.membersLeft == 0) {
      m_source.hasTooMany = true;
      refuse(offset());
      return false;
    }
    --m_source.membersLeft;
    return true;
  }

 private:
  template <class T, class Read>
  void appendEach(std::vector<T>& list, Read& readMember) {
    if (!keeps()) {
      while (hasMember()) readMember(*this);
      return;
    }
    list.reserve(std::min(count(), m_source.membersLeft));
    while (hasMember()) list.push_back(readMember(*this));
  }

  ExtensionReader enter(Tag tag) noexcept {
    const Asn1Element parent = take(tag, true);
    return {m_source, parent.content, parent.contentOffset()};
  }
  Asn1Element primitive(Tag tag) noexcept { return take(tag, false); }
  Asn1Element take(Tag tag, bool constructed) noexcept {
    if (m_members.startsWith(tag.identifier(constructed))) return element();
    refuse(offset());
    return {};
  }

  Source& m_source;
  DerReader m_members;
};

/// What `production`, called with a reader of an extension's value, gives of it; or the error.
template <class T, class Production>
Result<T> readValue(const BlockRef& block, Bytes value, Strictness strictness,
                    Production production) {
  const auto offset = static_cast<size_t>(value.data() - block.bytes().data());
  ExtensionReader::Source source{block, strictness};
  ExtensionReader reader(source, value, offset);
  T answer = production(reader);
  reader.end();
  const ErrorCode code = source.hasTooMany ? ErrorCode::tooLarge : ErrorCode::malformedExtension;
  if (source.fault) return Error::at(code, *source.fault);
  return answer;
}

/// The same to the letter, of the extension of a kind.
template <class T, class Production>
Result<T> readExtension(const BlockRef& block, ExtensionKind kind, Production production) {
  const auto entry = findExtension(*block, kind);
  if (!entry) return entry.error();
  return readValue<T>(block, contentAt(block->bytes(), (*entry)->value), Strictness::strict,
                      production);
}

}  // namespace velmora
