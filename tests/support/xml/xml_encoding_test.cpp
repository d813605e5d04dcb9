#include "velmora/support/xml/xml_encoding.h"

#include "tests/support/xml/xml_test_support.h"
#include "velmora/support/text/encoding_convert.h"

namespace velmora {
namespace {

using test::textOf;
using namespace std::string_literals;

enum Storage { kPlain, kMarked, kLittleEndian, kBigEndian, kLittleEndianUnmarked };

// A text of UTF-8 in the given form.
std::string stored(Storage storage, std::string_view text) {
  if (storage <= kMarked) return (storage == kMarked ? "\xEF\xBB\xBF" : "") + std::string(text);
  LogNull log;
  DataBuffer out;
  EXPECT_TRUE(EncodingConvert::EncConvert(65001, storage == kBigEndian ? 1201 : 1200,
                                          reinterpret_cast<const unsigned char*>(text.data()),
                                          static_cast<unsigned>(text.size()), out, log));
  const char* const marks[] = {"", "", "\xFF\xFE", "\xFE\xFF", ""};
  return marks[storage] + std::string(out.view());
}

// What is read, or the error.
std::string resultOf(std::string_view xml) {
  LogText log;
  const _clsOwner handle(ClsXml::createNewCls());
  if (handle->loadXml(xml, true, log)) return textOf(*handle);
  const std::string text(log.text().view().substr(sizeof "ERROR: " - 1));
  return text.substr(0, text.find('\n'));
}

const std::string kAscii = "<a>e</a>";
const std::string kBeyond = "<a>\xC3\xA9 \xF0\x9F\x98\x80</a>";

TEST(XmlEncoding, IsTheDeclaredOneOrTheTextIsRefused) {
  const struct {
    Storage storage;
    const char* declaration;
    std::string document;
    std::string expected;  // what is read, or why not
  } cases[] = {
      {kPlain, "<?xml version='1.0' encoding='UTF-8'?>", kBeyond, kBeyond},
      {kMarked, "<?xml version='1.0' encoding='utf8'?>", kBeyond, kBeyond},
      {kMarked, "<?xml version=\"1.0\" encoding = \"us-ascii\" standalone='no'?>", kAscii, kAscii},
      {kPlain, "<?xml version='1.0' encoding='US-ASCII'?>", kBeyond, kXmlNotAsDeclared},
      {kPlain, "<?xml version='1.0' encoding='ISO-8859-1'?>", kAscii, kXmlOtherEncoding},
      {kPlain, "<?xml version='1.0' encoding='UTF-8-and-a-long-rest'?>", kAscii, kXmlOtherEncoding},
      {kMarked, "<?xml version='1.0' encoding='UTF-16'?>", kAscii, kXmlNoUtf16Mark},
      {kLittleEndian, "", kBeyond, kBeyond},
      {kLittleEndian, "<?xml version='1.0' encoding='UTF-16'?>", kBeyond, kBeyond},
      {kBigEndian, "<?xml version='1.0' encoding='utf-16be'?>", kBeyond, kBeyond},
      {kBigEndian, "<?xml version='1.0' encoding='UTF-16LE'?>", kBeyond, kXmlNotAsDeclared},
      {kLittleEndian, "<?xml version='1.0' encoding='UTF-8'?>", kAscii, kXmlNotAsDeclared},
      {kLittleEndian, "<?xml version='1.0' encoding='latin1'?>", kAscii, kXmlOtherEncoding},
      {kLittleEndianUnmarked, "<?xml version='1.0' encoding='UTF-16'?>", kAscii, kXmlNoUtf16Mark},
      // However it is written, and where the word does not declare anything.
      {kPlain, "<?xml encoding\n=\t'latin1'?>", kAscii, kXmlOtherEncoding},
      {kPlain, "<?xml encoding=latin1?>", kAscii, kXmlOtherEncoding},
      {kPlain, "<?xml encoding 'latin1?>", kAscii, kXmlOtherEncoding},
      {kPlain, "<?xml encoding=''?>", kAscii, kXmlOtherEncoding},
      {kPlain, "<?xml encoding='latin1' encoding='UTF-8'?>", kAscii, kXmlOtherEncoding},
      {kPlain, "<?xml a='encoding' b=\"encoding='latin1'\" xencoding='latin1'?>", kAscii, kAscii},
      {kPlain, "<?xml-encoding encoding='latin1'?>", kAscii, kAscii},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(resultOf(stored(c.storage, c.declaration + c.document)), c.expected) << c.declaration;
  }
}

TEST(XmlEncoding, Utf16IsReadToTheLetter) {
  const std::string text = stored(kLittleEndian, kBeyond);
  EXPECT_EQ(resultOf(text + '\0'), kXmlNotUtf16);
  EXPECT_EQ(resultOf(stored(kBigEndian, "<a>") + "\xDC\x00<\0"s), kXmlNotUtf16);
  EXPECT_EQ(resultOf(stored(kBigEndian, "<a>") + "\xD8\x00\0<"s), kXmlNotUtf16);
  EXPECT_EQ(resultOf(stored(kBigEndian, "<a>") + "\xD8\x00"s), kXmlNotUtf16);
  EXPECT_EQ(resultOf(stored(kLittleEndian, "")), "Failed to parse XML: there is no root element.");
}

}  // namespace
}  // namespace velmora
