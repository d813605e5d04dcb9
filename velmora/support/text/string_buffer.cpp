#include "velmora/support/text/string_buffer.h"

#include <array>
#include <charconv>
#include <cstring>
#include <new>

#include "velmora/support/text/ascii.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {
namespace {

// Each hexadecimal digit in upper case, and zero for every other character.
constexpr auto kUpperHexDigits = [] {
  std::array<unsigned char, 256> digits{};
  for (const char* upper = "0123456789ABCDEF"; *upper != 0; ++upper) {
    const auto digit = static_cast<unsigned char>(*upper);
    digits[digit] = digit;
    digits[static_cast<unsigned char>(asciiLower(*upper))] = digit;
  }
  return digits;
}();

// The end of the part that begins at `from`: the next separator, or the end of the text.
size_t findSeparator(std::string_view text, size_t from, char separator,
                     bool honourQuotes) noexcept {
  bool quoted = false;
  size_t at = from;
  for (; at < text.size(); ++at) {
    if (text[at] == separator && !quoted) break;
    if (honourQuotes && text[at] == '"') quoted = !quoted;
  }
  return at;
}

}  // namespace

bool StringBuffer::append(const char* text) noexcept {
  return append(viewOrEmpty(text));
}

bool StringBuffer::append(const StringBuffer& text) noexcept {
  return m_text.append(text.m_text);
}

bool StringBuffer::append(const DataBuffer& bytes) noexcept {
  return m_text.append(bytes.m_bytes);
}

bool StringBuffer::append3(const char* a, const char* b, const char* c) noexcept {
  return append(a) && append(b) && append(c);
}

bool StringBuffer::appendInt(int64_t value) noexcept {
  char digits[20];  // "-9223372036854775808"
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  return appendN(digits, static_cast<size_t>(end - digits));
}

bool StringBuffer::setString(std::string_view text) noexcept {
  return m_text.assign(text.data(), text.size());
}

void StringBuffer::trim2() noexcept {
  const std::string_view kept = trimmedAscii(view());
  m_text.truncate(static_cast<size_t>(kept.data() - getString()) + kept.size());
  m_text.erase(0, m_text.size() - kept.size());
}

void StringBuffer::toLowerCase() noexcept {
  unsigned char* text = m_text.data();
  for (size_t i = 0; i < m_text.size(); ++i) {
    text[i] = static_cast<unsigned char>(asciiLower(static_cast<char>(text[i])));
  }
}

bool StringBuffer::replaceFirstOccurance(const char* find, const char* replacement,
                                         bool caseSensitive) noexcept {
  const std::string_view wanted = viewOrEmpty(find);
  const std::string_view fresh = viewOrEmpty(replacement);
  if (wanted.empty()) return false;
  const size_t at = caseSensitive ? view().find(wanted) : findIgnoringAsciiCase(view(), wanted);
  if (at == std::string_view::npos) return false;
  const size_t tail = getSize() - at - wanted.size();
  if (fresh.size() > wanted.size() && extend(fresh.size() - wanted.size()) == nullptr) return false;
  unsigned char* place = m_text.data() + at;
  std::memmove(place + fresh.size(), place + wanted.size(), tail);
  std::memcpy(place, fresh.data(), fresh.size());
  m_text.truncate(at + fresh.size() + tail);
  return true;
}

void StringBuffer::canonicalizeHexString() noexcept {
  std::string_view text = trimmedAscii(view());
  if (text.size() >= 2 && text[0] == '0' && asciiLower(text[1]) == 'x') text.remove_prefix(2);
  unsigned char* const first = m_text.data();
  size_t kept = 0;
  for (const char c : text) {
    const unsigned char digit = kUpperHexDigits[static_cast<unsigned char>(c)];
    first[kept] = digit;  // at or before `c`, and written over unless it counts
    kept += digit != 0 ? 1 : 0;
  }
  m_text.truncate(kept);
  if (kept % 2 != 0) m_text.prepend("0", 1);
}

bool StringBuffer::equals(const char* text) const noexcept {
  return text != nullptr && !failed() && view() == text;
}

bool StringBuffer::equalsIgnoreCase(std::string_view text) const noexcept {
  return !failed() && equalsIgnoringAsciiCase(view(), text);
}

bool StringBuffer::beginsWithIgnoreCase(std::string_view text) const noexcept {
  return equalsIgnoringAsciiCase(view().substr(0, text.size()), text);
}

bool StringBuffer::containsChar(char c) const noexcept {
  return view().find(c) != std::string_view::npos;
}

bool StringBuffer::containsSubstring(const char* text) const noexcept {
  return text != nullptr && view().find(text) != std::string_view::npos;
}

bool StringBuffer::containsSubstringNoCase(const char* text) const noexcept {
  return text != nullptr && findIgnoringAsciiCase(view(), text) != std::string_view::npos;
}

bool StringBuffer::split(ExtPtrArraySb& parts, char separator, bool trimAndDropEmpty,
                         bool honourQuotes) const {
  if (failed()) return false;  // the last part might be a shortened one
  const std::string_view text = view();
  for (size_t from = 0; from <= text.size();) {
    const size_t end = findSeparator(text, from, separator, honourQuotes);
    std::string_view part = text.substr(from, end - from);
    if (trimAndDropEmpty) part = trimmedAscii(part);
    if (!(trimAndDropEmpty && part.empty()) && !parts.appendString(part)) return false;
    from = end + 1;
  }
  return true;
}

StringBuffer* ExtPtrArraySb::sbAt(int i) const noexcept {
  return i >= 0 && i < getSize() ? m_texts[static_cast<size_t>(i)] : nullptr;
}

bool ExtPtrArraySb::appendString(std::string_view text) {
  auto* copy = new (std::nothrow) StringBuffer(text);
  if (copy != nullptr && !copy->failed() && m_texts.push_back(copy)) return true;
  delete copy;
  return false;
}

void ExtPtrArraySb::removeAllObjects() {
  for (StringBuffer* text : m_texts) delete text;
  m_texts.clear();
}

}  // namespace velmora
