#include "velmora/support/xml/internal/xml_parser.h"

#include "tests/common/table_file.h"
#include "tests/support/xml/xml_test_support.h"
#include "velmora/support/xml/internal/xml_scan.h"

namespace velmora {
namespace {

using test::load;
using test::Row;
using test::textOf;

std::string nested(int depth, const std::string& name = "a") {
  std::string xml;
  for (int i = 0; i < depth; ++i) xml += "<" + name + ">";
  for (int i = 0; i < depth; ++i) xml += "</" + name + ">";
  return xml;
}

std::string withAttributes(int count) {
  std::string xml = "<a";
  for (int i = 0; i < count; ++i) xml += " a" + std::to_string(i) + "=\"\"";
  return xml + "></a>";
}

TEST(XmlParser, ReadsAndWritesTheOneForm) {
  std::vector<Row> cases = test::tableOf("xml_texts", "read, and written");
  cases.push_back({nested(256, "sequence"), nested(256, "sequence")});
  cases.push_back({withAttributes(256), withAttributes(256)});
  const std::string longest = nested(1, std::string(65535, 'n'));
  cases.push_back({longest, longest});
  for (const Row& row : cases) {
    EXPECT_EQ(textOf(*_clsOwner(load(row[0]))), row[1]) << row[0].substr(0, 100);
  }
}

void expectRefused(std::string_view text, size_t offset) {
  SCOPED_TRACE(text.substr(0, 100));
  const _clsOwner xml(load("<keep>x</keep>"));
  LogText log;
  EXPECT_FALSE(xml->loadXml(text, true, log));
  EXPECT_TRUE(log.text().containsSubstring("ERROR: "));
  EXPECT_TRUE(log.text().view().ends_with("offset: " + std::to_string(offset) + "\n"))
      << log.text().view();
  EXPECT_EQ(textOf(*xml), "<keep>x</keep>");
}

TEST(XmlParser, RefusesWithTheOffset) {
  const std::pair<size_t, std::vector<std::string>> cases[] = {
      {1, {nested(1, std::string(65536, 'n'))}},
      {256 * 3, {nested(257), nested(100000)}},
      {256 * 5, {nested(257, "set")}},
      {withAttributes(256).size() - 4, {withAttributes(257)}}};
  for (const auto& [offset, texts] : cases) {
    for (const std::string& text : texts) expectRefused(text, offset);
  }
  for (const Row& row :
       test::tableOf("xml_texts", "the offset of the fault, and what is refused")) {
    expectRefused(row[1], std::stoul(row[0]));
  }
  for (const Row& noText : test::tableOf("xml_texts", "no text")) {
    expectRefused("<a>" + noText[0] + "</a>", 3);
  }
}

// Every text of one element around a character that a block search may or may not stop at, at every
// place in a block, for both forms of the search.
TEST(XmlParser, BothBlockSearchesFindTheSame) {
  for (int c = 0; c < 256; ++c) {
    for (size_t at = 0; at < kXmlBlock; ++at) {
      std::string block(kXmlBlock, 'x');
      block[at] = static_cast<char>(c);
      if (at + 1 < kXmlBlock) block[at + 1] = ' ';
      const bool markup = c == '&' || c == '<' || c == '>';
      const bool plain = c >= 0x20 && c < 0x80 && !markup;
      const bool escaped = c < 0x20 || c == 0x7F || c == '"' || markup;
      char to[kXmlBlock];
      EXPECT_EQ(XmlWordScan::copyPlain(block.data(), to), plain ? kXmlBlock : at) << c;
      EXPECT_EQ(std::string(to, kXmlBlock), block);
      EXPECT_EQ(XmlWordScan::findEscaped(block.data()), escaped ? at : kXmlBlock) << c;
      EXPECT_EQ(XmlScan::copyPlain(block.data(), to), plain ? kXmlBlock : at) << c;
      EXPECT_EQ(XmlScan::findEscaped(block.data()), escaped ? at : kXmlBlock) << c;
    }
  }
}

TEST(XmlParser, NumberedNamesAreFoundAndNothingElse) {
  for (size_t i = 1; i < kXmlNameCount; ++i) {
    const auto name = static_cast<XmlName>(i);
    const std::string text(xmlNameText(name));
    EXPECT_EQ(xmlNameOf(text), name);
    for (const std::string& other : {text + "x", "x" + text, text.substr(1) + "e"}) {
      EXPECT_EQ(xmlNameOf(other), XmlName::kOther) << other;
      // Reading must not take one for the other either.
      const _clsOwner xml(
          load("<" + other + "><" + text + ">                  </" + text + "></" + other + ">"));
      EXPECT_EQ(xml->tagView(), other);
      EXPECT_TRUE(xml->findChild2(text.c_str()));
      EXPECT_EQ(xml->document().node(xml->nodeIndex()).nameId, name);
    }
  }
}

}  // namespace
}  // namespace velmora
