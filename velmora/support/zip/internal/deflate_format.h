#pragma once

// The numbers of RFC 1951.

#include <array>
#include <cstddef>
#include <cstdint>

/// The numbers of the deflate format (RFC 1951 §3.2) that its writer and its reader share.
namespace velmora::deflate {

inline constexpr size_t kWindowSize = 32768;
inline constexpr unsigned kMinMatch = 3;
inline constexpr unsigned kMaxMatch = 258;
inline constexpr unsigned kMaxCodeLength = 15;
inline constexpr unsigned kMaxCodeLengthCodeLength = 7;
inline constexpr size_t kMaxStoredLength = 65535;

inline constexpr size_t kEndOfBlock = 256;
inline constexpr size_t kFirstLengthSymbol = 257;
inline constexpr size_t kLiteralSymbols = 286;
inline constexpr size_t kDistanceSymbols = 30;
inline constexpr size_t kCodeLengthSymbols = 19;
/// The fixed codes have code words for two more symbols of each kind, which never occur.
inline constexpr size_t kFixedLiteralSymbols = 288;
inline constexpr size_t kFixedDistanceSymbols = 32;

inline constexpr unsigned kStoredBlock = 0;
inline constexpr unsigned kFixedBlock = 1;
inline constexpr unsigned kDynamicBlock = 2;

/// What a length or distance symbol stands for: a smallest value, and the count of extra bits that
/// are added to it.
struct SymbolRange {
  uint16_t base;
  uint8_t extraBits;
};

/// Lengths of symbols 257 to 285 (§3.2.5).
inline constexpr std::array<SymbolRange, 29> kLengthRanges = [] {
  std::array<SymbolRange, 29> ranges{};
  unsigned base = kMinMatch;
  for (unsigned i = 0; i < 28; ++i) {
    const unsigned extra = i < 8 ? 0 : (i - 4) / 4;
    ranges[i] = {static_cast<uint16_t>(base), static_cast<uint8_t>(extra)};
    base += 1U << extra;
  }
  ranges[28] = {kMaxMatch, 0};
  return ranges;
}();

/// Distances of symbols 0 to 29 (§3.2.5).
inline constexpr std::array<SymbolRange, kDistanceSymbols> kDistanceRanges = [] {
  std::array<SymbolRange, kDistanceSymbols> ranges{};
  unsigned base = 1;
  for (unsigned i = 0; i < kDistanceSymbols; ++i) {
    const unsigned extra = i < 4 ? 0 : (i - 2) / 2;
    ranges[i] = {static_cast<uint16_t>(base), static_cast<uint8_t>(extra)};
    base += 1U << extra;
  }
  return ranges;
}();

/// The order in which the lengths of the code-length code are sent (§3.2.7).
inline constexpr std::array<uint8_t, kCodeLengthSymbols> kCodeLengthOrder = {
    16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

/// Code lengths of the fixed literal and length code (§3.2.6).
inline constexpr std::array<uint8_t, kFixedLiteralSymbols> kFixedLiteralLengths = [] {
  std::array<uint8_t, kFixedLiteralSymbols> lengths{};
  for (size_t i = 0; i < lengths.size(); ++i) {
    lengths[i] = i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8;
  }
  return lengths;
}();

inline constexpr std::array<uint8_t, kFixedDistanceSymbols> kFixedDistanceLengths = [] {
  std::array<uint8_t, kFixedDistanceSymbols> lengths{};
  lengths.fill(5);
  return lengths;
}();

}  // namespace velmora::deflate
