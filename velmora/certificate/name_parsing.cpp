#include <algorithm>
#include <new>
#include <optional>

#include "velmora/certificate/der.h"
#include "velmora/certificate/internal/attribute_keywords.h"
#include "velmora/certificate/internal/der_values.h"
#include "velmora/certificate/internal/name_maker.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/support/asn1/der_element.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/unicode.h"

// Names from the text of RFC 4514. Octets of DER are kept in strings here, for their operations.

namespace velmora {
namespace {

constexpr size_t kMostText = size_t{64} * 1024;

Bytes bytesOf(std::string_view octets) noexcept {
  return std::as_bytes(std::span(octets.data(), octets.size()));
}

bool isLetterOrDigit(char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}
bool isHexDigit(char c) noexcept {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}
bool isAscii(char c) noexcept {
  return static_cast<unsigned char>(c) < 0x80;
}
bool isPrintable(char c) noexcept {
  return isLetterOrDigit(c) || std::string_view(" '()+,-./:=?").find(c) != std::string_view::npos;
}

// Attribute types that have no choice of a string type (RFC 5280 appendix A.1).
constexpr Oid kPrintableTypes[] = {oid::country, oid::serialNumber, oid::dnQualifier};
constexpr Oid kIa5Types[] = {oid::domainComponent, oid::emailAddress};

// The string type for a value; UTF8String also for one that the other types do not hold.
unsigned stringTagFor(std::string_view type, std::string_view value) noexcept {
  const auto isOneOf = [&](std::span<const Oid> types) {
    return std::any_of(types.begin(), types.end(),
                       [&](const Oid& one) { return sameOctets(one.der(), bytesOf(type)); });
  };
  const auto consistsOf = [&](bool (*fits)(char)) {
    return std::all_of(value.begin(), value.end(), fits);
  };
  if (isOneOf(kPrintableTypes) && consistsOf(isPrintable)) return asn1_tag::kPrintableString;
  if (isOneOf(kIa5Types) && consistsOf(isAscii)) return asn1_tag::kIa5String;
  return asn1_tag::kUtf8String;
}

// The index of the first octet that belongs to no character; the size when there is none.
size_t utf8Fault(std::string_view octets) noexcept {
  const auto* const start = reinterpret_cast<const unsigned char*>(octets.data());
  const unsigned char* at = start;
  while (at != start + octets.size()) {
    const unsigned char* const character = at;
    if (readUtf8(at, start + octets.size()) == kInvalidSequence) {
      return static_cast<size_t>(character - start);
    }
  }
  return octets.size();
}

// Reads the productions of RFC 4514 §3. Each of its steps starts where the one before has ended,
// and sets `fault` to the character that does not fit.
class NameParser {
 public:
  explicit NameParser(std::string_view text) noexcept : m_text(text) {}

  std::optional<size_t> fault() const noexcept { return m_fault; }

  // distinguishedName = [ relativeDistinguishedName *( COMMA relativeDistinguishedName ) ]
  std::string name() {
    std::vector<std::string> rdns;
    bool more = !m_text.empty();
    for (; more; more = takes(',')) rdns.push_back(rdn());
    if (m_at != m_text.size()) refuse(m_at);
    std::reverse(rdns.begin(), rdns.end());
    return elementOf(asn1_identifier::kSequence, joined(rdns));
  }

 private:
  // relativeDistinguishedName = attributeTypeAndValue *( PLUS attributeTypeAndValue )
  std::string rdn() {
    std::vector<std::string> attributes;
    do {
      attributes.push_back(attribute());
    } while (takes('+'));
    std::sort(attributes.begin(), attributes.end());  // X.690 §11.6
    return elementOf(asn1_identifier::kSet, joined(attributes));
  }

  static std::string joined(const std::vector<std::string>& parts) {
    std::string all;
    for (const std::string& part : parts) all += part;
    return all;
  }

  // attributeTypeAndValue = attributeType EQUALS attributeValue
  // attributeValue = string / hexstring
  std::string attribute() {
    const std::string type = attributeType();
    if (!m_fault && !takes('=')) refuse(m_at);
    if (m_fault) return {};
    const bool isHex = m_at != m_text.size() && m_text[m_at] == '#';
    const std::string value = isHex ? hexString() : stringOf(type);
    return elementOf(asn1_identifier::kSequence, elementOf(asn1_tag::kOid, type) + value);
  }

  // attributeType = descr / numericoid
  std::string attributeType() {
    const size_t start = m_at;
    while (m_at != m_text.size() && isInType(m_text[m_at])) ++m_at;
    const std::string_view token = m_text.substr(start, m_at - start);
    const Bytes known = typeOfKeyword(token);
    std::string type(charactersOf(known));
    if (known.empty()) {
      type.resize(token.size());
      type.resize(writeOidContent(token, reinterpret_cast<unsigned char*>(type.data())));
    }
    if (type.empty()) refuse(start);
    return type;
  }
  static bool isInType(char c) noexcept { return isLetterOrDigit(c) || c == '-' || c == '.'; }

  // hexstring = SHARP 1*hexpair, here of one element of DER.
  std::string hexString() {
    const size_t start = m_at++;
    while (m_at != m_text.size() && isHexDigit(m_text[m_at])) ++m_at;
    const std::string_view digits = m_text.substr(start + 1, m_at - start - 1);
    std::string der(digits.size() / 2, '\0');
    hexDecode(digits, reinterpret_cast<unsigned char*>(der.data()));
    if (digits.size() % 2 != 0 || derFault(bytesOf(der))) refuse(start);
    return der;
  }

  // string = [ ( leadchar / pair ) [ *( stringchar / pair ) ( trailchar / pair ) ] ]
  std::string stringOf(std::string_view type) {
    const size_t start = m_at;
    std::string value;
    while (!m_fault && m_at != m_text.size() && m_text[m_at] != ',' && m_text[m_at] != '+') {
      value += m_text[m_at] == '\\' ? pair() : character(m_at == start);
    }
    const size_t invalid = utf8Fault(value);
    if (!m_fault && invalid != value.size()) refuse(placeOf(start, invalid));
    return elementOf(stringTagFor(type, value), value);
  }

  char character(bool isFirst) noexcept {
    const char c = m_text[m_at];
    const size_t next = m_at + 1;
    const bool isLast = next == m_text.size() || m_text[next] == ',' || m_text[next] == '+';
    const bool isForbidden =
        c == '\0' || std::string_view("\";<>").find(c) != std::string_view::npos;
    if (isForbidden || (c == ' ' && (isFirst || isLast))) refuse(m_at);
    m_at = next;
    return c;
  }

  // pair = ESC ( ESC / special / hexpair )
  char pair() noexcept {
    const size_t start = m_at;
    if (isHexPair(start)) {
      unsigned char octet = 0;
      hexDecode(m_text.substr(start + 1, 2), &octet);
      m_at += 3;
      return static_cast<char>(octet);
    }
    m_at += 2;
    const bool isSpecial =
        m_at <= m_text.size() &&
        std::string_view("\\\"+,;<> #=").find(m_text[start + 1]) != std::string_view::npos;
    if (!isSpecial) refuse(start);
    return isSpecial ? m_text[start + 1] : '\0';
  }

  bool isHexPair(size_t at) const noexcept {
    return m_text.size() - at > 2 && isHexDigit(m_text[at + 1]) && isHexDigit(m_text[at + 2]);
  }

  // Where the octet of that index of the string that starts at `at` stands in the text.
  size_t placeOf(size_t at, size_t index) const noexcept {
    constexpr size_t kHexPair = 3;
    constexpr size_t kOtherPair = 2;
    for (; index != 0; --index) {
      const size_t pairSize = isHexPair(at) ? kHexPair : kOtherPair;
      at += m_text[at] == '\\' ? pairSize : 1;
    }
    return at;
  }

  bool takes(char c) noexcept {
    if (m_fault || m_at == m_text.size() || m_text[m_at] != c) return false;
    ++m_at;
    return true;
  }

  void refuse(size_t at) noexcept {
    if (!m_fault) m_fault = at;
  }

  std::string_view m_text;
  size_t m_at = 0;
  std::optional<size_t> m_fault;
};

}  // namespace

Result<Name> Name::fromDer(Bytes der) noexcept {
  if (const auto fault = derFault(der)) return *fault;
  Asn1Element name;
  if (!DerReader(der, 0).takeSequence(name)) return Error::at(ErrorCode::malformedName, 0);
  const Result<BlockRef> block = Block::create(der);
  if (!block) return block.error();
  return NameMaker::make(*block, 0);
}

Result<Name> Name::parse(std::string_view rfc4514) noexcept try {
  if (rfc4514.size() > kMostText) return Error{ErrorCode::tooLarge};
  NameParser parser(rfc4514);
  const std::string der = parser.name();
  if (const auto fault = parser.fault()) {
    return Error{ErrorCode::malformedText, Found::certificate, static_cast<uint32_t>(*fault)};
  }
  const Result<BlockRef> block = Block::create(bytesOf(der));
  if (!block) return block.error();
  return NameMaker::make(*block, 0);
} catch (const std::bad_alloc&) {
  return Error{ErrorCode::outOfMemory};
}

}  // namespace velmora
