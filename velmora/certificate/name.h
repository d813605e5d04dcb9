#pragma once

// Distinguished names, attribute by attribute and as RFC 4514 text.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/certificate/block_ref.h"
#include "velmora/certificate/bytes.h"
#include "velmora/certificate/oid.h"
#include "velmora/certificate/result.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// The string type of an attribute value (X.520, RFC 5280 §4.1.2.4). PrintableString,
/// NumericString, VisibleString and IA5String are taken for ASCII, T61String for Latin-1, BMPString
/// for UTF-16.
enum class TextKind : uint8_t {
  none,  // no string, or octets that are none of its type
  utf8,
  printable,
  ia5,
  t61,
  bmp,
  universal,
  numeric,
  visible,
};

/// An AttributeTypeAndValue of a name. It owns what it holds.
struct Attribute {
  Oid type;          // empty for one of more than Oid::kMaxSize octets
  uint32_t rdn = 0;  // of which RDN, from 0: two with one number are one multi-valued RDN
  TextKind kind = TextKind::none;  // of which string type the value is
  std::string text;                // in UTF-8, any character included; empty with TextKind::none
  Octets der;                      // the value whole: identifier, length and contents
  Octets rawType;                  // the content octets of the type
};

/// The same where it stands, without a copy. The Bytes live as long as any copy of the certificate.
struct VELMORA_API PlacedAttribute {
  Bytes type;                      // the content octets of its OID
  Bytes der;                       // the value whole: identifier, length and contents
  Bytes content;                   // the contents of the value
  uint32_t rdn = 0;                // of which RDN, from 0
  TextKind kind = TextKind::none;  // of which string type the value is

  /// Whether the contents are the text in UTF-8 as they stand.
  bool isUtf8() const noexcept;
  /// The text as in Attribute.
  std::string text() const;
};

/// A distinguished name (RFC 5280 §4.1.2.4: Name ::= SEQUENCE OF RelativeDistinguishedName) with
/// its RDNs as they stand in a certificate. It keeps the octets of its certificate alive. Never
/// changes; any thread may ask.
class VELMORA_API Name {
 public:
  /// From the text of RFC 4514 §3, last RDN first: "CN=Steve Kille,O=Isode Limited,C=GB". Attribute
  /// types are the keywords that rfc4514() writes, in any letter case, or dotted OIDs; values are
  /// text or "#" and the hexadecimal of their DER. Text becomes a PrintableString for country,
  /// serialNumber and dnQualifier, an IA5String for domainComponent and the e-mail address, else,
  /// and where these do not hold it, a UTF8String; the attributes of an RDN are sorted as DER wants
  /// it. So what rfc4514() wrote of a name like that comes back to the octet. The empty text is the
  /// empty name. Spaces around separators and values in quotes, which older texts have, are
  /// refused. Errors malformedText with the offset of the character at fault, tooLarge beyond
  /// 64 KiB of text, outOfMemory.
  static Result<Name> parse(std::string_view rfc4514) noexcept;

  /// From the DER of a Name, which is copied. Errors notAsn1, notDer, trailingOctets, tooLarge,
  /// outOfMemory, and malformedName for what is no SEQUENCE; whether that is one of RDNs is for
  /// those who ask it, as with the names of a certificate.
  static Result<Name> fromDer(Bytes der) noexcept;

  /// All attributes in the certificate's order. Error malformedName with the offset of what is no
  /// RDN of one attribute or more, or an attribute whose type is no OID in its shortest form.
  Result<std::vector<Attribute>> attributes() const;

  /// Calls `visit` with each of them as a PlacedAttribute, up to the error above, which tells that
  /// what came before it is not all. Allocates nothing; throws what `visit` throws.
  template <class Visit>
  [[nodiscard]] std::optional<Error> visitAttributes(Visit visit) const& {
    return visitAttributes(
        [](void* to, const PlacedAttribute& attribute) { (*static_cast<Visit*>(to))(attribute); },
        &visit);
  }
  template <class Visit>
  std::optional<Error> visitAttributes(Visit visit) const&& = delete;

  /// The text of the first attribute of a type: absent, or malformedText with the offset of its
  /// value when that one is no string, or its octets are none of its type; malformedName as above,
  /// wherever in the name it is.
  Result<std::string> find(const Oid& type) const;

  /// The text of RFC 4514 §2: last RDN first, "," between RDNs and "+" within one, whose attributes
  /// keep their order. Types that §3 or RFC 4519 have a keyword for, and the e-mail address, are
  /// written with it (docs/formats.md lists them), others dotted and then with the value as "#" and
  /// hexadecimal, as is every value that is no text. Escaped is what §2.4 demands, and as
  /// hexadecimal pairs the control characters of ASCII, so that no name steers a terminal. Parsed
  /// back, it matches where the name is in the string types that parse() makes, or that are equal
  /// to them. Errors malformedName as above, and tooLarge for a type with an arc of more than 512
  /// octets.
  Result<std::string> rfc4514() const;

  /// Whether there is no RDN. False for what is malformed.
  bool isEmpty() const noexcept { return m_size == 2; }

  /// The DER, which lives as long as any copy of the certificate or of this name.
  Bytes der() const& noexcept { return m_block.bytes().subspan(m_at, m_size); }
  Bytes der() const&& = delete;

  /// Whether both are the same name in the sense of RFC 5280 §7.1: RDN by RDN the same attributes
  /// in any order. Values that are a PrintableString or a UTF8String, and of the e-mail address and
  /// of domainComponent an IA5String, are equal when their characters are, after the letters A to Z
  /// are folded to small ones, white space at the ends is dropped and runs of it within are one
  /// space. All others are equal octet by octet, their type included, and so are those whose octets
  /// are none of their type. That is stricter than RFC 4518 asks: what no table of ours vouches for
  /// is not the same. A malformed name matches nothing, not even itself. Memory that runs out makes
  /// false.
  bool matches(const Name& other) const noexcept;

  /// A key to find and to order names by: two names match exactly if theirs are equal, and one
  /// starts with all RDNs of another exactly if its key starts with the other's. It is the contents
  /// of the Name in DER with the texts that matches() folds as UTF8Strings of what they fold to,
  /// and the attributes of an RDN sorted; so it is empty for the empty name, and not longer than
  /// der(). Linear but for the sorting. None for a malformed name.
  std::optional<std::string> folded() const;

  /// The same of the DER of a Name, without a Name that keeps it alive: Parts::subject, for one.
  static std::optional<std::string> folded(Bytes der);

  /// The same octets.
  friend VELMORA_API bool operator==(const Name& a, const Name& b) noexcept;

 private:
  friend struct NameMaker;  // internal to this floor
  Name(BlockRef block, uint32_t at, uint32_t size) noexcept
      : m_block(std::move(block)), m_at(at), m_size(size) {}

  using VisitPlaced = void(void* to, const PlacedAttribute& attribute);
  std::optional<Error> visitAttributes(VisitPlaced* visit, void* to) const;

  BlockRef m_block;
  uint32_t m_at;
  uint32_t m_size;
};

}  // namespace velmora
