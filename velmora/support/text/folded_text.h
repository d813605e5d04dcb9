#pragma once

// Texts as names are compared by.

#include <string_view>
#include <utility>

#include "velmora/support/text/ascii.h"

namespace velmora {

/// The octets of a text as names are compared by (RFC 5280 §7.1): A to Z as small letters, white
/// space of ASCII at its ends left out, and one space for each run of it within. Octets beyond
/// ASCII stay, so that UTF-8 comes out as UTF-8. Linear, and never longer than the text.
class FoldedText {
 public:
  static constexpr int kEnd = -1;

  explicit constexpr FoldedText(std::string_view text) noexcept : m_left(text) {}

  /// The next octet, 0 to 255, or kEnd.
  constexpr int next() noexcept {
    if (m_held != kEnd) return std::exchange(m_held, kEnd);
    const size_t size = m_left.size();
    while (!m_left.empty() && isAsciiSpace(m_left.front())) m_left.remove_prefix(1);
    if (m_left.empty()) return kEnd;
    const bool isBehindSpace = m_left.size() != size;
    const int c = static_cast<unsigned char>(asciiLower(m_left.front()));
    m_left.remove_prefix(1);
    if (!std::exchange(m_started, true) || !isBehindSpace) return c;
    m_held = c;
    return ' ';
  }

 private:
  std::string_view m_left;
  int m_held = kEnd;  // the octet behind a space that was given
  bool m_started = false;
};

/// Writes all of what FoldedText gives, which is never longer than the text, to `to`; gives its
/// end.
constexpr char* writeFolded(std::string_view text, char* to) noexcept {
  const char* const first = to;
  bool isBehindSpace = false;
  for (const char c : text) {
    if (isAsciiSpace(c)) {
      isBehindSpace = to != first;
      continue;
    }
    if (std::exchange(isBehindSpace, false)) *to++ = ' ';
    *to++ = asciiLower(c);
  }
  return to;
}

}  // namespace velmora
