#pragma once

// The numbered names as two machine words each, so that a tag is recognised by two comparisons.
// Internal to the XML floor.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "velmora/support/core/words.h"
#include "velmora/support/xml/xml_names.h"

namespace velmora {

/// Sixteen bytes of text: the first in the lowest bits of `low`, whatever the machine's byte order.
struct XmlNameWords {
  uint64_t low = 0;
  uint64_t high = 0;
};

/// The words of a text of at most 16 bytes, filled up with zeros.
constexpr XmlNameWords xmlNameWords(std::string_view text) noexcept {
  XmlNameWords words;
  for (size_t i = 0; i < text.size(); ++i) {
    const uint64_t byte = static_cast<unsigned char>(text[i]);
    (i < 8 ? words.low : words.high) |= byte << (i % 8 * 8);
  }
  return words;
}

/// The numbered names, each with the ">" that ends a tag without attributes, and a perfect hash of
/// their first four bytes; the multiplier that makes it perfect is found at compile time.
class XmlNameTable {
 public:
  /// A name and the size of its text, in one word because reading goes on by that size.
  class Entry {
   public:
    constexpr Entry() noexcept = default;
    constexpr Entry(XmlName name, size_t size) noexcept
        : m_packed(static_cast<uint16_t>(size << 8 | static_cast<size_t>(name))) {}
    constexpr XmlName name() const noexcept { return static_cast<XmlName>(m_packed & 0xFF); }
    constexpr uint16_t size() const noexcept { return static_cast<uint16_t>(m_packed >> 8); }

   private:
    uint16_t m_packed = 0;
  };

  constexpr XmlNameTable() noexcept {
    for (size_t i = 1; i < kXmlNameCount; ++i) {
      const size_t size = kXmlNameTexts[i].size();
      char tag[16] = {};
      char mask[16] = {};
      for (size_t at = 0; at <= size; ++at) {
        tag[at] = at == size ? '>' : kXmlNameTexts[i][at];
        mask[at] = '\xFF';
      }
      m_tags[i] = {xmlNameWords({tag, 16}), xmlNameWords({mask, 16})};
    }
    uint32_t candidate = 0x9E3779B9;  // any odd start would do
    while (!fill(candidate)) candidate = candidate * 1664525 + 1013904223;
  }

  /// The only numbered name, if any, whose tag text begins with the four readable bytes at `at`.
  Entry candidateAt(const char* at) const noexcept {
    return candidate(loadLittleEndian<uint32_t>(at));
  }

  /// The same for four bytes as a word, the first in the lowest bits.
  Entry candidate(uint32_t start) const noexcept { return m_slots[slotOf(start, m_multiplier)]; }

  /// Whether the 16 readable bytes at `at` begin with that numbered name and ">".
  bool isTagAt(const char* at, XmlName name) const noexcept {
    const Tag& tag = m_tags[static_cast<size_t>(name)];
    return (((loadLittleEndian<uint64_t>(at) ^ tag.text.low) & tag.mask.low) |
            ((loadLittleEndian<uint64_t>(at + 8) ^ tag.text.high) & tag.mask.high)) == 0;
  }

 private:
  static constexpr unsigned kSlotBits = 7;

  struct Tag {
    XmlNameWords text;
    XmlNameWords mask;  // of the bytes that count
  };

  static constexpr size_t slotOf(uint32_t start, uint32_t multiplier) noexcept {
    return start * multiplier >> (32 - kSlotBits);
  }

  constexpr bool fill(uint32_t multiplier) noexcept {
    for (Entry& slot : m_slots) slot = Entry();
    for (size_t i = 1; i < kXmlNameCount; ++i) {
      Entry& slot = m_slots[slotOf(static_cast<uint32_t>(m_tags[i].text.low), multiplier)];
      if (slot.name() != XmlName::kOther) return false;
      slot = Entry(static_cast<XmlName>(i), kXmlNameTexts[i].size());
    }
    m_multiplier = multiplier;
    return true;
  }

  Tag m_tags[kXmlNameCount]{};
  Entry m_slots[size_t{1} << kSlotBits]{};
  uint32_t m_multiplier = 0;
};

inline constexpr XmlNameTable kXmlNameTable;

}  // namespace velmora
