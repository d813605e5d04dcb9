#pragma once

// Letter case and white space of US-ASCII, whatever the locale is.

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace velmora {

constexpr bool isAsciiSpace(char c) noexcept {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char asciiLower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr bool sameIgnoringAsciiCase(char a, char b) noexcept {
  return asciiLower(a) == asciiLower(b);
}

constexpr bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), sameIgnoringAsciiCase);
}

/// Where `find` first stands in `text` in any letter case; npos when it does not.
constexpr size_t findIgnoringAsciiCase(std::string_view text, std::string_view find) noexcept {
  const auto at =
      std::search(text.begin(), text.end(), find.begin(), find.end(), sameIgnoringAsciiCase);
  return at == text.end() && !find.empty() ? std::string_view::npos
                                           : static_cast<size_t>(at - text.begin());
}

/// The text without the white space at its ends.
constexpr std::string_view trimmedAscii(std::string_view text) noexcept {
  while (!text.empty() && isAsciiSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isAsciiSpace(text.back())) text.remove_suffix(1);
  return text;
}

/// A C string as a view; a null pointer is the empty text.
constexpr std::string_view viewOrEmpty(const char* text) noexcept {
  return text != nullptr ? text : "";
}

}  // namespace velmora
