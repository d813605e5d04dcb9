#pragma once

// Text in and out in the encodings of callers.

#include <cstddef>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

/// Text that takes characters in several encodings and is held as UTF-8. Counted by length, marked
/// by a failed allocation, and not safe for concurrent use, as StringBuffer. Operations that add
/// text append; each returns false when memory ran out.
class VELMORA_API XString {
 public:
  XString() noexcept = default;
  /// Starts with a copy of text in UTF-8; a failed allocation leaves the mark.
  explicit XString(std::string_view utf8) noexcept : m_utf8(utf8) {}
  XString(XString&&) noexcept = default;
  XString& operator=(XString&&) noexcept = default;

  /// The text in UTF-8, closed by a zero byte; never null.
  const char* getUtf8() const noexcept { return m_utf8.getString(); }
  /// The same with its length, valid until the text changes.
  std::string_view view() const noexcept { return m_utf8.view(); }
  /// The same as the buffer that holds it.
  const StringBuffer& getUtf8Sb() const noexcept { return m_utf8; }
  /// The UTF-8 text itself, to be read and changed.
  StringBuffer& getUtf8Sb_rw() noexcept { return m_utf8; }
  /// Whether there is no character.
  bool isEmpty() const noexcept { return m_utf8.isEmpty(); }
  /// True after an operation ran out of memory, until clear.
  bool failed() const noexcept { return m_utf8.failed(); }
  /// Marks the text, for a caller that could not get what belongs into it.
  void markFailed() noexcept { m_utf8.markFailed(); }

  /// Appends text in UTF-8, which is taken as it is; null appends nothing.
  bool appendUtf8(const char* text) noexcept { return m_utf8.append(text); }
  bool appendUtf8(std::string_view text) noexcept { return m_utf8.append(text); }
  /// Appends another text; a marked one adds nothing and passes its mark on.
  bool appendX(const XString& text) noexcept { return m_utf8.append(text.m_utf8); }
  /// Appends a character of US-ASCII.
  bool appendChar(char ascii) noexcept { return m_utf8.appendChar(ascii); }
  /// Appends a whole number in decimal.
  bool appendInt(int64_t value) noexcept { return m_utf8.appendInt(value); }
  /// Replaces the text by one in UTF-8, which is taken as it is.
  bool setFromUtf8(std::string_view text) noexcept { return m_utf8.setString(text); }
  /// Appends text in the ANSI code page, which is Windows-1252 on every system.
  bool appendAnsi(const char* text) noexcept;
  bool appendAnsi(std::string_view text) noexcept;
  /// Appends `count` UTF-16 code units in the machine's byte order; `units` need not be aligned. An
  /// unpaired surrogate becomes U+FFFD.
  bool appendUtf16N_xe(const unsigned char* units, unsigned int count) noexcept;
  /// Appends the bytes as upper-case hexadecimal digits without white space.
  bool appendHexDataNoWS(const unsigned char* bytes, size_t count) noexcept;

  /// Empties the text and gives its memory back.
  void clear() noexcept { m_utf8.clear(); }
  /// Empties the text and keeps its memory.
  void weakClear() noexcept { m_utf8.weakClear(); }
  /// As StringBuffer::trim2.
  void trim2() noexcept { m_utf8.trim2(); }
  /// As StringBuffer::canonicalizeHexString.
  void canonicalizeHexString() noexcept { m_utf8.canonicalizeHexString(); }

  /// The decimal value at the start of the text, after white space and a sign; 0 when there is
  /// none, the nearest int when it does not fit.
  int intValue() const noexcept;

  /// The same text in UTF-8, and no mark; false for null.
  bool equalsUtf8(const char* text) const noexcept { return m_utf8.equals(text); }
  /// The same text, and neither marked.
  bool equalsX(const XString& other) const noexcept { return m_utf8.equals(other.m_utf8); }
  /// Equal when only the letter case of US-ASCII letters differs.
  bool equalsIgnoreCaseUsAscii(const XString& other) const noexcept;
  bool equalsIgnoreCaseUsAscii(const char* text) const noexcept;

 private:
  StringBuffer m_utf8;
};

}  // namespace velmora
