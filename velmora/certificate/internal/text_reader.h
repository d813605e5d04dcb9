#pragma once

// String types (X.680 §41, RFC 5280 §4.1.2.4) as characters.

#include <string>

#include "velmora/certificate/internal/octets.h"
#include "velmora/certificate/name.h"
#include "velmora/support/text/unicode.h"

namespace velmora {

/// The string type of an element; none for what is no string type, a constructed one, or a tag that
/// is not universal.
TextKind stringType(const Asn1Header& header) noexcept;

/// Gives the characters of a string value one after the other. PrintableString, NumericString,
/// VisibleString and IA5String are read as ASCII, since names outside the narrower sets are in
/// daily use; T61String as Latin-1, which is what its writers mean; BMPString as UTF-16.
class TextReader {
 public:
  static constexpr char32_t kEnd = 0xFFFFFFFE;

  /// `kind` is not none.
  TextReader(TextKind kind, Bytes content) noexcept
      : m_at(octetsOf(content).data()), m_end(m_at + content.size()), m_kind(kind) {}

  /// kEnd at the end, kInvalidSequence for octets that stand for no character of the type.
  char32_t next() noexcept;

 private:
  char32_t readUniversal() noexcept;

  const unsigned char* m_at;
  const unsigned char* m_end;
  TextKind m_kind;
};

/// The string type of an element all of whose octets are characters of it; else none.
TextKind textKindOf(const Asn1Element& element) noexcept;

/// Whether content octets for which textKindOf gave `kind` are UTF-8 as they stand.
constexpr bool isUtf8(TextKind kind) noexcept {
  return kind != TextKind::t61 && kind != TextKind::bmp && kind != TextKind::universal;
}

/// The characters in UTF-8 of content octets for which textKindOf gave `kind`.
std::string utf8Of(TextKind kind, Bytes content);

}  // namespace velmora
