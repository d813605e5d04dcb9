#include "velmora/support/text/string_buffer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/common/table_file.h"
#include "velmora/support/text/x_string.h"

namespace velmora {
namespace {

using namespace std::string_view_literals;
using test::Row;

std::vector<std::string> split(std::string_view text, bool trim, bool quotes) {
  ExtPtrArraySb parts;
  EXPECT_TRUE(StringBuffer(text).split(parts, ',', trim, quotes));
  std::vector<std::string> result;
  for (int i = 0; i < parts.getSize(); ++i) result.emplace_back(parts.sbAt(i)->view());
  EXPECT_EQ(parts.sbAt(parts.getSize()), nullptr);
  EXPECT_EQ(parts.sbAt(-1), nullptr);
  return result;
}

TEST(StringBuffer, ANulIsACharacter) {
  StringBuffer text("good\0evil"sv);
  EXPECT_EQ(text.getSize(), 9U);
  EXPECT_FALSE(text.equals("good") || text.equalsIgnoreCase("good"));
  EXPECT_TRUE(text.containsSubstring("evil"));
  EXPECT_FALSE(text.equals(StringBuffer("good\0eviL"sv)));
  EXPECT_FALSE(StringBuffer().equals(static_cast<const char*>(nullptr)));
}

TEST(StringBuffer, ComparesAndFindsInAnyLetterCase) {
  const StringBuffer text("Hex \xC3\x84");
  EXPECT_TRUE(text.equalsIgnoreCase("hEX \xC3\x84"));
  EXPECT_FALSE(text.equalsIgnoreCase("hex \xC3\xA4")) << "only US-ASCII letters have two cases";
  EXPECT_FALSE(StringBuffer("[").equalsIgnoreCase("{"));
  EXPECT_TRUE(text.beginsWith("Hex") && text.beginsWithIgnoreCase("hex"));
  EXPECT_FALSE(text.beginsWith("hex") || text.beginsWithIgnoreCase("hex \xC3\x84."));
  EXPECT_TRUE(StringBuffer("a,DN_LowerCase").containsSubstringNoCase("dn_lowercase"));
  EXPECT_FALSE(StringBuffer("DN_Lower").containsSubstringNoCase("DN_Lowercase"));
  EXPECT_FALSE(text.containsSubstring("HEX") || text.containsSubstringNoCase(nullptr));
  EXPECT_TRUE(text.containsChar('x') && !text.containsChar('X'));
}

TEST(StringBuffer, Trims) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {" \t\r\n\v\fa b\f ", "a b"}, {"ab", "ab"}, {"   ", ""}, {"", ""}, {"\xC2\xA0x", "\xC2\xA0x"},
  };
  for (const auto& [text, trimmed] : cases) {
    StringBuffer sb(text);
    sb.trim2();
    EXPECT_EQ(sb.view(), trimmed);
  }
}

TEST(StringBuffer, CanonicalHex) {
  for (const Row& row : test::tableOf("numbers", "hexadecimal digits, as they are kept")) {
    const std::string &text = row[0], &canonical = row[1];
    XString x{std::string_view(text)};
    x.canonicalizeHexString();
    EXPECT_EQ(x.view(), canonical) << text;
    x.canonicalizeHexString();
    EXPECT_EQ(x.view(), canonical) << text;
  }
}

TEST(StringBuffer, EscapesForJson) {
  StringBuffer text("a\"b\\c\n\r\t\b\f\x01\x1F\x7F/\0\xC3\xBC"sv);
  EXPECT_TRUE(text.jsonEscape());
  EXPECT_EQ(text.view(), "a\\\"b\\\\c\\n\\r\\t\\b\\f\\u0001\\u001f\x7F/\\u0000\xC3\xBC");
}

TEST(StringBuffer, ReplacesTheFirstOccurrence) {
  const struct {
    const char *text, *find, *replacement;
    bool caseSensitive;
    const char* expected;  // null: not found
  } cases[] = {
      {"a-b-c", "-", "==", true, "a==b-c"}, {"a-b-c", "-b-", "", true, "ac"},
      {"aXc", "x", "y", true, nullptr},     {"aXc", "x", "y", false, "ayc"},
      {"abc", "", "y", true, nullptr},      {"abc", "abcd", "y", true, nullptr},
      {"abc", "c", nullptr, true, "ab"},
  };
  for (const auto& c : cases) {
    StringBuffer text{std::string_view(c.text)};
    EXPECT_EQ(text.replaceFirstOccurance(c.find, c.replacement, c.caseSensitive),
              c.expected != nullptr);
    EXPECT_EQ(text.view(), c.expected != nullptr ? c.expected : c.text);
  }
}

TEST(StringBuffer, Splits) {
  using Parts = std::vector<std::string>;
  EXPECT_EQ(split(" sha256 ,base64,, \t,pin", true, false), (Parts{"sha256", "base64", "pin"}));
  EXPECT_EQ(split(" a ,,b,", false, false), (Parts{" a ", "", "b", ""}));
  EXPECT_EQ(split("", true, false), Parts{});
  EXPECT_EQ(split("", false, false), Parts{""});
  EXPECT_EQ(split("\"a,b\",c", true, true), (Parts{"\"a,b\"", "c"}));
  EXPECT_EQ(split("\"a,b\",c", true, false), (Parts{"\"a", "b\"", "c"}));
  EXPECT_EQ(split("\"a,b", true, true), Parts{"\"a,b"});
}

TEST(XString, ReadsAndWritesIntegers) {
  for (const Row& row : test::tableOf("numbers", "text, number")) {
    EXPECT_EQ(std::to_string(XString(std::string_view(row[0])).intValue()), row[1]) << row[0];
  }

  XString text;
  EXPECT_TRUE(text.appendInt(INT64_MIN));
  EXPECT_TRUE(text.appendHexDataNoWS(reinterpret_cast<const unsigned char*>("\x0A\xFF"), 2));
  EXPECT_EQ(text.view(), "-92233720368547758080AFF");
}

}  // namespace
}  // namespace velmora
