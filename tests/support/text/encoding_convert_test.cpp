#include "velmora/support/text/encoding_convert.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "velmora/support/log/log_base.h"
#include "velmora/support/text/x_string.h"

namespace velmora {
namespace {

using namespace std::string_view_literals;

constexpr int kUtf8 = 65001, kUtf16Le = 1200, kUtf16Be = 1201;
constexpr int kWindows1252 = 1252, kLatin1 = 28591, kAscii = 20127;

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string convert(int from, int to, std::string_view text) {
  DataBuffer out;
  LogNull log;
  EXPECT_TRUE(EncodingConvert::EncConvert(from, to, bytesOf(text),
                                          static_cast<unsigned>(text.size()), out, log));
  return std::string(out.view());
}

TEST(EncConvert, KnownTexts) {
  const struct {
    int from, to;
    std::string_view text, expected;
  } cases[] = {
      {kUtf16Be, kUtf8, "\0Z\0\xFC\0r\0i\0c\0h"sv, "Z\xC3\xBCrich"},
      {kUtf16Le, kUtf8, "\xAC\x20\x3D\xD8\x00\xDE"sv, "\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {kUtf16Be, kUtf16Le, "\0A\xD8\x3D"sv, "A\0\xFD\xFF"sv},
      {kWindows1252, kUtf8, "\x80\x99\x9F\xE9", "\xE2\x82\xAC\xE2\x84\xA2\xC5\xB8\xC3\xA9"},
      {kUtf8, kWindows1252, "\xE2\x82\xAC\xC5\x81\xC2\x81\xC2\x80", "\x80?\x81?"},
      {kUtf8, kLatin1, "\xC3\xBF\xC4\x80", "\xFF?"},
      {kUtf8, kAscii, "a\xC3\xBF", "a?"},
      {kAscii, kUtf8, "a\x80", "a\xEF\xBF\xBD"},
      {kLatin1, kUtf8, "\x80\xFF", "\xC2\x80\xC3\xBF"},
      // unpaired surrogates and an odd last byte
      {kUtf16Be, kUtf8, "\xD8\x00\0Z"sv, "\xEF\xBF\xBDZ"},
      {kUtf16Be, kUtf8, "\xDC\x00\xD8\x00"sv, "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {kUtf16Be, kUtf8, "\0A\0"sv, "A\xEF\xBF\xBD"},
      {kUtf16Be, kUtf8, "\xD8\x00\xDC"sv, "\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(convert(c.from, c.to, c.text), c.expected) << c.from << " to " << c.to;
  }
}

// The examples of Unicode §3.9, tables 3-8 to 3-11: one U+FFFD, here a question mark, for each
// maximal part of a character.
TEST(EncConvert, ReplacesMaximalPartsOfBrokenUtf8) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", "????????A"},
      {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", "????????A"},
      {"\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", "?????A??B"},
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", "????A"},
      {"\xF0\x9F\x98", "?"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(convert(kUtf8, kAscii, text), expected);
    EXPECT_FALSE(isValidUtf8(text));
    const std::string clean = convert(kUtf8, kUtf8, text);
    EXPECT_TRUE(isValidUtf8(clean));
  }
}

TEST(EncConvert, EveryCharacterSurvivesTheUnicodeForms) {
  StringBuffer utf8;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (c < 0xD800 || c > 0xDFFF) appendCodePointUtf8(c, utf8);
  }
  StringBuffer none;
  for (const char32_t c : {0xD800U, 0xDFFFU, 0x110000U, 0xFFFFFFFFU}) appendCodePointUtf8(c, none);
  EXPECT_EQ(none.view(), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(utf8.getSize(), 128U + 1920 * 2 + (63488 - 2048) * 3 + 1048576 * 4);
  EXPECT_TRUE(isValidUtf8(utf8.view()));
  for (const int form : {kUtf16Be, kUtf16Le, kUtf8}) {
    EXPECT_TRUE(convert(form, kUtf8, convert(kUtf8, form, utf8.view())) == utf8.view()) << form;
  }
}

TEST(EncConvert, RefusesUnknownCodePagesAndAppends) {
  DataBuffer out;
  out.append("x", 1);
  LogNull log;
  EXPECT_FALSE(EncodingConvert::EncConvert(kUtf8, 437, bytesOf("a"), 1, out, log));
  EXPECT_FALSE(EncodingConvert::EncConvert(0, kUtf8, bytesOf("a"), 1, out, log));
  EXPECT_TRUE(EncodingConvert::EncConvert(kUtf8, kLatin1, bytesOf("a"), 1, out, log));
  EXPECT_EQ(out.view(), "xa");
}

TEST(XString, TakesUtf16InTheMachinesOrder) {
  const char16_t units[] = {u'A', 0x20AC, 0xD83D, 0xDE00, 0xDE00, u'Z', 0xD83D};
  unsigned char unaligned[sizeof units + 1];
  std::memcpy(unaligned + 1, units, sizeof units);
  XString text("<");
  EXPECT_TRUE(text.appendUtf16N_xe(unaligned + 1, 7));
  EXPECT_EQ(text.view(), "<A\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBDZ\xEF\xBF\xBD");
}

}  // namespace
}  // namespace velmora
