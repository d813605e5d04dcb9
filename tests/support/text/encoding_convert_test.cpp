#include "velmora/support/text/encoding_convert.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/common/table_file.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/x_string.h"

namespace velmora {
namespace {

using namespace std::string_view_literals;
using test::Row;

constexpr int kUtf8 = 65001, kUtf16Le = 1200, kUtf16Be = 1201;
constexpr int kLatin1 = 28591, kAscii = 20127;

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
  for (const Row& row :
       test::tableOf("encodings", "code page from, code page to, text, expected")) {
    EXPECT_EQ(convert(std::stoi(row[0]), std::stoi(row[1]), row[2]), row[3]) << row[0];
  }
}

// The examples of Unicode §3.9, tables 3-8 to 3-11: one U+FFFD, here a question mark, for each
// maximal part of a character.
TEST(EncConvert, ReplacesMaximalPartsOfBrokenUtf8) {
  for (const Row& row : test::tableOf("encodings", "broken UTF-8, and what stands for it")) {
    const std::string &text = row[0], &expected = row[1];
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
