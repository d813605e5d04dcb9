#pragma once

// Tells and converts the encodings of XML text.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "velmora/support/core/export.h"

namespace velmora {

/// How the characters of an XML text are stored.
enum class XmlEncoding : uint8_t {
  kUndeclared,
  kUtf8,
  kUsAscii,
  kUtf16,  // in the order that the byte order mark tells
  kUtf16LittleEndian,
  kUtf16BigEndian,
  kOther
};

/// The byte order marks of UTF-16 (XML 1.0 §4.3.3).
inline constexpr std::string_view kUtf16LittleEndianMark = "\xFF\xFE";
inline constexpr std::string_view kUtf16BigEndianMark = "\xFE\xFF";

/// The reasons for which a text is refused.
inline constexpr const char* kXmlOtherEncoding =
    "Failed to parse XML: the declared encoding is neither UTF-8, US-ASCII nor UTF-16.";
inline constexpr const char* kXmlNotAsDeclared =
    "Failed to parse XML: the text is not in the encoding that it declares.";
inline constexpr const char* kXmlNoUtf16Mark =
    "Failed to parse XML: UTF-16 without a byte order mark.";
inline constexpr const char* kXmlNotUtf16 = "Failed to parse XML: the text is not UTF-16.";

/// What the XML declaration in front of a document says of its encoding. The declaration may come
/// in pieces; it is read leniently, only its encoding counts.
///
///   EncodingDecl ::= S 'encoding' Eq ('"' EncName '"' | "'" EncName "'")
class VELMORA_API XmlDeclaration {
 public:
  /// Takes the next characters of those between "<?xml" and "?>".
  void take(std::string_view text) noexcept;
  void take(char c) noexcept;

  /// Null, or why a document behind this declaration is refused. `mark` is kUtf16LittleEndian or
  /// kUtf16BigEndian for a text with that mark, and kUtf8 for every other; `document` is what
  /// stands behind the declaration, in UTF-8.
  const char* fault(XmlEncoding mark, std::string_view document) const noexcept;

 private:
  XmlEncoding encoding() const noexcept;
  void endWord() noexcept;
  void declare(XmlEncoding encoding) noexcept;
  std::string_view word() const noexcept;

  // Longer than any word that means something.
  static constexpr size_t kMaxWord = 16;

  std::array<char, kMaxWord> m_word{};
  size_t m_wordSize = 0;  // one more than fits for a word that is longer
  char m_quote = 0;       // open
  bool m_named = false;   // "encoding" was read, and its value is next
  XmlEncoding m_encoding = XmlEncoding::kUndeclared;
};

}  // namespace velmora
