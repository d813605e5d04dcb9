#include "velmora/support/xml/internal/xml_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/xml/xml_test_support.h"
#include "velmora/support/xml/internal/xml_scan.h"

namespace velmora {
namespace {

using test::load;
using test::textOf;
using namespace std::string_literals;

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
  const std::pair<std::string, std::string> cases[] = {
      {"<a/>", "<a></a>"},
      {"<set\n></set\t>", "<set></set>"},
      {"\xEF\xBB\xBF<?xml version='1.0' encoding=\"UTF-8\"?>\n<a></a>\n", "<a></a>"},
      {"<!-- x --><?go on?><a></a><!-- y --> <?stop?>", "<a></a>"},
      {"<1.2.3>x</1.2.3>", "<1.2.3>x</1.2.3>"},
      {"<\xC3\xA9>x</\xC3\xA9>", "<\xC3\xA9>x</\xC3\xA9>"},
      // Attributes.
      {"<a b='\"' tag = \"'\"/>", "<a b=\"&quot;\" tag=\"'\"></a>"},
      {"<a b='1\r\n2\r3\n4\t5'/>", "<a b=\"1 2 3 4 5\"></a>"},
      {"<a b='&#10;&lt;&#x9;>'/>", "<a b=\"&#10;&lt;&#9;&gt;\"></a>"},
      // White space is content in a leaf, layout beside children.
      {"<a> </a>", "<a> </a>"},
      {"<a>\r\n\r\n\n</a>", "<a>&#10;&#10;&#10;</a>"},
      {"<a>\n  <b> x </b>\r\n\t<c/>\n</a>", "<a><b> x </b><c></c></a>"},
      {"<a> &#x20;<b/> </a>", "<a>&#32;&#32;<b></b></a>"},
      {"<a>&#10;<b/></a>", "<a>&#10;<b></b></a>"},
      {"<a><![CDATA[ ]]><b/></a>", "<a>&#32;<b></b></a>"},
      {"<a> <![CDATA[]]> <b/><![CDATA[]]></a>", "<a><b></b></a>"},
      {"<a b='&#32;'> <b/></a>", "<a b=\" \"><b></b></a>"},
      // References and sections.
      {"<a>&amp;&lt;&gt;&quot;&apos;</a>", "<a>&amp;&lt;&gt;&quot;'</a>"},
      {"<a>&#0;&#13;&#127;&#x7f;&#xE9;&#x1F600;&#0000065;</a>",
       "<a>&#0;&#13;&#127;&#127;\xC3\xA9\xF0\x9F\x98\x80"
       "A</a>"},
      {"<a>x<!-- y -->z<?p q?>!</a>", "<a>xz!</a>"},
      {"<a>x<![CDATA[<&>\r\n]] > &amp;\xC3\xA9]]>z</a>",
       "<a>x&lt;&amp;&gt;&#10;]] &gt; &amp;amp;\xC3\xA9z</a>"},
      {"<a>]]&gt; ]>></a>", "<a>]]&gt; ]&gt;&gt;</a>"},
      {"<a>\x7F\xEF\xBF\xBF</a>", "<a>&#127;\xEF\xBF\xBF</a>"},
      {nested(256, "sequence"), nested(256, "sequence")},
      {withAttributes(256), withAttributes(256)},
      {"<"s + std::string(65535, 'n') + "/>",
       "<"s + std::string(65535, 'n') + "></" + std::string(65535, 'n') + ">"},
  };
  for (const auto& [xml, written] : cases) {
    EXPECT_EQ(textOf(*_clsOwner(load(xml))), written) << xml.substr(0, 100);
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
      {0, {"", "a", "x<a/>", "<!DOCTYPE a><a/>"}},
      {1,
       {"<", "< a/>", "<-a/>", "<.a/>", " <!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>",
        " <?xml version='1.0'?><a/>", "<a\xC3/>", "<"s + std::string(65536, 'n') + "/>"}},
      {2, {" \n", "<a\0/>"s, "<a"}},
      {3, {"<a>", "<a></b>", "<a / >", "<a><?xml version='1.0'?></a>", "<a>\xE2\x82", "<a ='c'/>"}},
      {4,
       {"<a>x", "<a/><b/>", "<a/>x", "<a/></a>", "<a/>&#32;", "<a><!DOCTYPE b></a>", "<a b/>",
        "<a b"}},
      {5, {"<set></sequence>                 ", "<a>]]></a>", "<a b=/>", "<a b=c/>", "<a b="}},
      {6,
       {"<a></ab>", "<a><b></a></b>", "<a></a", "<a><?p", "<a><?p!?></a>", "<a b='\x1F'/>",
        "<a b='<'/>", "<a b='&c;'/>"}},
      {7, {"<a><b/>x</a>", "<a><b/>&#32;</a>", "<a>&#65", "<a b=''c=''/>"}},
      {8, {"<a><!-- \x01 --></a>", "<a><!-- \xFF --></a>", "<a><b/> x<c/></a>"}},
      {9, {"<a><!-- x", "<a b='c/>"}},
      {10, {"<sequence></set></sequence>", "<a tag='' tag=''/>"}},
      {12, {"<a><!-- x -- y --></a>", "<a><![CDATA[\x01]]></a>"}},
      {13, {"<a b='' c='' b=''/>"}},
      {16, {"<a><b/><![CDATA[ ]]></a>"}},
      {19, {"<?xml version='1.0'", "<a><![CDATA[x]]</a>"}},
      {21, {"<a>0123456789abcdef]]></a>"}},
      {23, {"<a>0123456789abcdef0123\xC3</a>"}},
      // Limits.
      {256 * 3, {nested(257), nested(100000)}},
      {256 * 5, {nested(257, "set")}},
      {withAttributes(256).size() - 4, {withAttributes(257)}},
  };
  for (const auto& [offset, texts] : cases) {
    for (const std::string& text : texts) expectRefused(text, offset);
  }
  for (const std::string& noText :
       {"\x01"s, "\0"s, "\xFF"s, "\xC0\x80"s, "\xED\xA0\x80"s, "&"s, "&b;"s, "&lt"s, "&#;"s,
        "&#x;"s, "&#X41;"s, "&#-1;"s, "&#1a;"s, "&#xD800;"s, "&#x110000;"s, "&#4294967361;"s}) {
    expectRefused("<a>" + noText + "</a>", 3);
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
