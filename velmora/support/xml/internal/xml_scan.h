#pragma once

// Search in blocks of 16 bytes, where the time of reading and writing a document goes. Two forms
// with the same results: machine words, which every machine has, and SSE2, which every x86-64 CPU
// has. Internal to the XML floor.
//
//   copyPlain    copies a block and gives where its first byte stands that content cannot simply
//                be copied with: a control character, "&", "<", ">", or a byte beyond ASCII
//   findEscaped  gives where the first byte stands that is written as a reference: a control
//                character, "&", "<", ">", the double quote
//
// Both give 16 when there is no such byte.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "velmora/support/core/target.h"
#include "velmora/support/xml/internal/xml_name_table.h"
#if defined(VELMORA_X86_64)
#include <emmintrin.h>
#endif

namespace velmora {

inline constexpr size_t kXmlBlock = 16;

/// With two machine words to a block.
struct XmlWordScan {
  static size_t copyPlain(const char* at, char* to) noexcept {
    const uint64_t low = loadLittleEndian<uint64_t>(at);
    const uint64_t high = loadLittleEndian<uint64_t>(at + 8);
    std::memcpy(to, at, kXmlBlock);
    return position(markup(low) | below(low, ' ') | low, markup(high) | below(high, ' ') | high);
  }

  static size_t findEscaped(const char* at) noexcept {
    return position(escaped(loadLittleEndian<uint64_t>(at)),
                    escaped(loadLittleEndian<uint64_t>(at + 8)));
  }

 private:
  // These set the high bit of every byte they are about; behind the first such byte they may set
  // others by mistake, and the lower bits mean nothing.
  static constexpr uint64_t kEach = 0x0101010101010101;

  static constexpr uint64_t below(uint64_t word, char limit) noexcept {
    return (word - kEach * static_cast<unsigned char>(limit)) & ~word;
  }
  static constexpr uint64_t equal(uint64_t word, char c) noexcept {
    return below(word ^ kEach * static_cast<unsigned char>(c), 1);
  }
  static constexpr uint64_t markup(uint64_t word) noexcept {
    return equal(word, '&') | equal(word | kEach * ('<' ^ '>'), '>');
  }
  static constexpr uint64_t escaped(uint64_t word) noexcept {
    return markup(word) | below(word, ' ') | equal(word, '"') | equal(word, '\x7F');
  }

  static size_t position(uint64_t low, uint64_t high) noexcept {
    low &= kEach * 0x80;
    high &= kEach * 0x80;
    const auto bits = static_cast<unsigned>(std::countr_zero(low != 0 ? low : high));
    return (low != 0 ? 0 : 8) + bits / 8;
  }
};

#if defined(VELMORA_X86_64)
/// With one 128-bit register to a block.
struct XmlVectorScan {
  static size_t copyPlain(const char* at, char* to) noexcept {
    const __m128i block = load(at);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
    // Signed: below a space are the control characters and everything beyond ASCII.
    const __m128i outside = _mm_cmplt_epi8(block, _mm_set1_epi8(' '));
    return position(_mm_or_si128(markup(block), outside));
  }

  static size_t findEscaped(const char* at) noexcept {
    const __m128i block = load(at);
    const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(block, _mm_set1_epi8(0x1F)), block);
    const __m128i others = _mm_or_si128(equal(block, '"'), equal(block, '\x7F'));
    return position(_mm_or_si128(_mm_or_si128(markup(block), control), others));
  }

 private:
  static __m128i load(const char* at) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
  }
  static __m128i equal(__m128i block, char c) noexcept {
    return _mm_cmpeq_epi8(block, _mm_set1_epi8(c));
  }
  static __m128i markup(__m128i block) noexcept {
    const __m128i angles = _mm_or_si128(block, _mm_set1_epi8('<' ^ '>'));
    return _mm_or_si128(equal(block, '&'), equal(angles, '>'));
  }
  static size_t position(__m128i matches) noexcept {
    const auto bits = static_cast<unsigned>(_mm_movemask_epi8(matches)) | 1U << kXmlBlock;
    return static_cast<size_t>(std::countr_zero(bits));
  }
};
using XmlScan = XmlVectorScan;
#else
using XmlScan = XmlWordScan;
#endif

}  // namespace velmora
