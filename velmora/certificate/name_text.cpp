#include <array>
#include <iterator>

#include "velmora/certificate/internal/attribute_keywords.h"
#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/name_reader.h"
#include "velmora/certificate/internal/text_reader.h"
#include "velmora/certificate/name.h"
#include "velmora/support/asn1/oids.h"
#include "velmora/support/text/byte_codecs.h"

// Names as the text of RFC 4514.

namespace velmora {
namespace {

enum class Escape : uint8_t { none, backslash, hexadecimal };

// What each character needs wherever it stands.
constexpr std::array<Escape, 256> escapes() noexcept {
  std::array<Escape, 256> table{};
  for (size_t c = 0; c < 0x20; ++c) table[c] = Escape::hexadecimal;
  table[0x7F] = Escape::hexadecimal;
  for (const char c : std::string_view("\"+,;<>\\")) {
    table[static_cast<unsigned char>(c)] = Escape::backslash;
  }
  return table;
}

constexpr std::array<Escape, 256> kEscapes = escapes();

// RFC 4514 §2.4. Control characters, which it asks for of NUL alone, are hexadecimal, so that no
// name steers a terminal; what is beyond ASCII stays as it is.
void appendEscaped(std::string_view value, std::string& out) {
  size_t done = 0;
  for (size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    const bool isAtEnd = i == 0 || i + 1 == value.size();
    const Escape escape = kEscapes[static_cast<unsigned char>(c)];
    const bool isEscapedThere = isAtEnd && (c == ' ' || (c == '#' && i == 0));
    if (escape == Escape::none && !isEscapedThere) continue;
    out.append(value.substr(done, i - done)) += '\\';
    done = i;
    if (escape != Escape::hexadecimal) continue;
    char digits[2];
    hexEncodeUpper(reinterpret_cast<const unsigned char*>(&c), 1, digits);
    out.append(digits, sizeof digits);
    done = i + 1;
  }
  out.append(value.substr(done));
}

void appendHex(Bytes der, std::string& out) {
  out += '#';
  const size_t before = out.size();
  out.resize(before + 2 * der.size());
  hexEncodeUpper(octetsOf(der).data(), der.size(), out.data() + before);
}

// False for a type with an arc of more than kMaxOidArcOctets, which no text is made of.
bool appendDotted(Bytes type, std::string& out) {
  const size_t before = out.size();
  out.resize(before + maxDottedSize(type.size()));
  const size_t written = writeDottedOid(octetsOf(type), out.data() + before);
  out.resize(before + written);
  return written != 0;
}

void appendText(TextKind kind, Bytes content, std::string& out) {
  if (isUtf8(kind)) {
    appendEscaped(charactersOf(content), out);
  } else {
    appendEscaped(utf8Of(kind, content), out);
  }
}

bool appendAttribute(const AttributeElements& attribute, std::string& out) {
  const Bytes type = attribute.type.content;
  const std::string_view keyword = keywordOf(type);
  if (keyword.empty() && !appendDotted(type, out)) return false;
  out.append(keyword) += '=';
  const TextKind kind = keyword.empty() ? TextKind::none : textKindOf(attribute.value);
  if (kind == TextKind::none) {
    appendHex(attribute.value.whole, out);
  } else {
    appendText(kind, attribute.value.content, out);
  }
  return true;
}

// The attributes of one RDN in their order.
template <class Iterator>
bool appendRdn(Iterator from, Iterator to, std::string& out) {
  for (Iterator at = from; at != to; ++at) {
    if (at != from) out += '+';
    if (!appendAttribute(*at, out)) return false;
  }
  return true;
}

}  // namespace

Result<std::string> Name::rfc4514() const {
  constexpr size_t kUsualCount = 6;
  std::vector<AttributeElements> attributes;
  attributes.reserve(kUsualCount);
  AttributeElements attribute;
  NameReader reader(der(), m_at);
  while (reader.next(attribute)) attributes.push_back(attribute);
  if (const auto fault = reader.fault()) return Error::at(ErrorCode::malformedName, *fault);
  std::string text;
  text.reserve(m_size);  // the DER of an attribute is mostly longer than its text
  for (auto end = attributes.end(); end != attributes.begin();) {
    auto start = std::prev(end);
    while (start != attributes.begin() && std::prev(start)->rdn == start->rdn) --start;
    if (end != attributes.end()) text += ',';
    if (!appendRdn(start, end, text)) return Error::at(ErrorCode::tooLarge, m_at);
    end = start;
  }
  return text;
}

}  // namespace velmora
