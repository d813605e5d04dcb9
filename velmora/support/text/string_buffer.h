#pragma once

// Growable text.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/core/objects.h"
#include "velmora/support/core/pod_array.h"
#include "velmora/support/text/byte_store.h"

namespace velmora {

class DataBuffer;
class ExtPtrArraySb;

/// Growable 8-bit text, UTF-8 where it holds letters beyond ASCII. Counted by length: a NUL is a
/// character like any other, and a text that holds one equals no C string. A zero byte that does
/// not count always follows the text. Operations that add text append; each returns false when
/// memory ran out, and the buffer is then marked (see ByteStore) until it is cleared. Letter case
/// and white space are those of US-ASCII (white space: space, TAB, LF, VT, FF, CR). Not safe for
/// concurrent use.
class VELMORA_API StringBuffer {
 public:
  StringBuffer() noexcept = default;
  /// Starts with a copy of `text`; a failed allocation leaves the mark.
  explicit StringBuffer(std::string_view text) noexcept { append(text); }
  StringBuffer(StringBuffer&&) noexcept = default;
  StringBuffer& operator=(StringBuffer&&) noexcept = default;

  /// The text, closed by a zero byte; never null.
  const char* getString() const noexcept { return reinterpret_cast<const char*>(m_text.data()); }
  /// The text with its length, valid until it changes.
  std::string_view view() const noexcept { return {getString(), m_text.size()}; }
  /// How many bytes it has.
  size_t getSize() const noexcept { return m_text.size(); }
  /// Whether it has none.
  bool isEmpty() const noexcept { return m_text.size() == 0; }
  /// True after an operation ran out of memory, until clear.
  bool failed() const noexcept { return m_text.failed(); }
  /// Marks the text, for a caller that could not get what belongs into it.
  void markFailed() noexcept { m_text.markFailed(); }

  bool append(const char* text) noexcept;  // null appends nothing
  /// The text may lie inside this one.
  bool append(std::string_view text) noexcept { return m_text.append(text.data(), text.size()); }
  /// A marked text adds nothing and passes its mark on.
  bool append(const StringBuffer& text) noexcept;
  /// The bytes as they are, taken as text; marked ones as above.
  bool append(const DataBuffer& bytes) noexcept;
  /// Appends `count` bytes, which may lie inside this text.
  bool appendN(const char* text, size_t count) noexcept { return m_text.append(text, count); }
  /// Appends one byte.
  bool appendChar(char c) noexcept { return m_text.appendByte(static_cast<unsigned char>(c)); }
  /// Three texts, one after the other.
  bool append3(const char* a, const char* b, const char* c) noexcept;
  /// A whole number in decimal.
  bool appendInt(int64_t value) noexcept;
  /// Adds `count` characters for the caller to fill; null when memory ran out.
  char* extend(size_t count) noexcept { return reinterpret_cast<char*>(m_text.extend(count)); }
  /// Makes room for `total` bytes in all.
  bool reserve(size_t total) noexcept { return m_text.reserve(total); }

  /// Replaces the text by one that may lie inside it.
  bool setString(std::string_view text) noexcept;
  /// Empties the text and gives its memory back.
  void clear() noexcept { m_text.release(); }
  /// Empties the text and keeps its memory.
  void weakClear() noexcept { m_text.clear(); }
  /// Drops the bytes from `size` on; never grows.
  void truncate(size_t size) noexcept { m_text.truncate(size); }
  /// Gives memory beyond the text back when that can be done.
  void shrinkToFit() noexcept { m_text.shrinkToFit(); }
  /// Exchanges texts and marks.
  void swap(StringBuffer& other) noexcept { m_text.swap(other.m_text); }

  /// Removes white space at both ends.
  void trim2() noexcept;
  /// US-ASCII letters to lower case.
  void toLowerCase() noexcept;
  /// Replaces the first occurrence of `find` (never of the empty text); `caseSensitive` false finds
  /// it in any letter case. True when there was one.
  bool replaceFirstOccurance(const char* find, const char* replacement,
                             bool caseSensitive) noexcept;
  /// Brings hexadecimal text to its one canonical form: upper case, everything that is not a
  /// hexadecimal digit dropped (a leading "0x" too), an odd count padded with one 0 in front,
  /// leading zeros kept.
  void canonicalizeHexString() noexcept;
  /// Escapes what a JSON string must not hold as it is (RFC 8259 §7): the quote, the backslash and
  /// the characters below U+0020. In place; false when memory ran out (the text is then marked).
  bool jsonEscape() noexcept;

  /// The same bytes, and no mark; false for null.
  bool equals(const StringBuffer& other) const noexcept { return m_text.equals(other.m_text); }
  bool equals(const char* text) const noexcept;
  /// The same but for the case of US-ASCII letters, and no mark.
  bool equalsIgnoreCase(std::string_view text) const noexcept;
  /// Whether the text starts with another.
  bool beginsWith(std::string_view text) const noexcept { return view().starts_with(text); }
  /// The same in any letter case.
  bool beginsWithIgnoreCase(std::string_view text) const noexcept;
  /// Whether the byte is somewhere in the text.
  bool containsChar(char c) const noexcept;
  /// Whether another text is somewhere in it; false for null.
  bool containsSubstring(const char* text) const noexcept;
  /// The same in any letter case.
  bool containsSubstringNoCase(const char* text) const noexcept;

  /// Splits at every `separator` and appends the parts to `parts`. `trimAndDropEmpty` removes white
  /// space around each part and leaves out those that are then empty; `honourQuotes` keeps a
  /// separator between two double-quote characters. False when memory ran out (`parts` then holds
  /// what was split before).
  bool split(ExtPtrArraySb& parts, char separator, bool trimAndDropEmpty, bool honourQuotes) const;

 private:
  ByteStore m_text;
};

/// Growable array of texts that it owns. Not safe for concurrent use.
class VELMORA_API ExtPtrArraySb {
 public:
  ExtPtrArraySb() = default;
  ~ExtPtrArraySb() { removeAllObjects(); }
  ExtPtrArraySb(const ExtPtrArraySb&) = delete;
  ExtPtrArraySb& operator=(const ExtPtrArraySb&) = delete;

  /// How many texts it has.
  int getSize() const noexcept { return static_cast<int>(m_texts.size()); }
  /// The i-th text from 0, still owned by the array; null outside the array.
  StringBuffer* sbAt(int i) const noexcept;
  /// Appends a copy.
  bool appendString(std::string_view text);
  /// Deletes every text.
  void removeAllObjects();

 private:
  PodArray<StringBuffer*> m_texts;
};

}  // namespace velmora
