#pragma once

// What the bytes of an XML text may stand for. Internal to the XML and ASN.1 floors.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmora {

enum : uint8_t {
  kXmlNameByte = 1,   // may stand in a name
  kXmlNameStart = 2,  // may start one
  kXmlWhite = 4,      // white space of XML
  kXmlValueStop = 8,  // in an attribute value, is not simply copied
  kXmlEscaped = 16,   // is written as a reference
};

constexpr std::array<uint8_t, 256> makeXmlByteClasses() noexcept {
  std::array<uint8_t, 256> classes{};
  const auto add = [&classes](std::string_view bytes, int bits) {
    for (const char c : bytes) {
      uint8_t& entry = classes[static_cast<unsigned char>(c)];
      entry = static_cast<uint8_t>(entry | bits);
    }
  };
  add("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_:",
      kXmlNameByte | kXmlNameStart);
  add(".-", kXmlNameByte);
  add(" \t\r\n", kXmlWhite);
  add("\"'<&", kXmlValueStop);
  add("<>&\"\x7F", kXmlEscaped);
  for (size_t c = 0; c < 0x20; ++c) classes[c] |= kXmlValueStop | kXmlEscaped;
  for (size_t c = 0x80; c < 0x100; ++c) classes[c] = kXmlNameByte | kXmlNameStart | kXmlValueStop;
  return classes;
}

inline constexpr std::array<uint8_t, 256> kXmlByteClasses = makeXmlByteClasses();

constexpr bool xmlByteIs(char c, int classes) noexcept {
  return (kXmlByteClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

inline constexpr size_t kMaxXmlNameSize = 0xFFFF;

/// Whether a name can be written and read back: its bytes are those of names, it is UTF-8, and it
/// starts with neither "." nor "-".
bool isXmlName(std::string_view name) noexcept;

/// Whether a text is white space alone; the empty one is.
bool isXmlWhite(std::string_view text) noexcept;

}  // namespace velmora
