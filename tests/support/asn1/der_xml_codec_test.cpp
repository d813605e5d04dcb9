#include "velmora/support/asn1/der_xml_codec.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/common/allocation_fault.h"
#include "tests/common/der_builder.h"
#include "tests/support/asn1/codec_texts.h"

namespace velmora {
namespace {

namespace der = test::der;
using test::octetsOf;
using test::toDerHex;
using test::toXml;

TEST(DerXmlCodec, DerBothWays) {
  const std::pair<const char*, const char*> cases[] = {
      {"3000", "<sequence></sequence>"},
      {"0101FF", "<bool>FF</bool>"},
      {"010101", "<bool>01</bool>"},
      {"02020080", "<int>0080</int>"},
      {"0A0103", "<enumerated>03</enumerated>"},
      {"050100", "<null>00</null>"},
      {"0303 00A5FF", "<bits>A5FF</bits>"},
      {"0302 03A8", "<bits unused=\"3\">A8</bits>"},
      {"0302 0780", "<bits unused=\"7\">80</bits>"},
      {"0301 00", "<bits></bits>"},
      {"0300", "<universal number=\"3\"></universal>"},
      {"0302 08A8", "<universal number=\"3\">CKg=</universal>"},
      {"0301 01", "<universal number=\"3\">AQ==</universal>"},
      {"0403 414243", "<octets>QUJD</octets>"},
      {"0400", "<octets></octets>"},
      {"0603 550403", "<oid>2.5.4.3</oid>"},
      {"0602 8001", "<universal number=\"6\">gAE=</universal>"},
      {"0600", "<universal number=\"6\"></universal>"},
      {"0C05 C3BC E282AC", "<utf8>\xC3\xBC\xE2\x82\xAC</utf8>"},
      {"0C02 FC41", "<utf8 encoding=\"latin1\">\xC3\xBC\x41</utf8>"},
      {"0C02 2020", "<utf8>  </utf8>"},
      {"1306 3C26613E22 27", "<printable>&lt;&amp;a&gt;&quot;'</printable>"},
      {"1606 00090A0D1F7F", "<ia5>&#0;&#9;&#10;&#13;&#31;&#127;</ia5>"},
      {"1403 E980FF", "<t61>\xC3\xA9\xC2\x80\xC3\xBF</t61>"},
      {"170D 3230303130313030303030305A", "<utctime>200101000000Z</utctime>"},
      {"1801 5A", "<universal number=\"24\">Wg==</universal>"},
      {"1E02 0041", "<universal number=\"30\">AEE=</universal>"},
      {"1F21 0141", "<universal number=\"33\">QQ==</universal>"},
      {"8003 414243", "<contextSpecific tag=\"0\" constructed=\"0\">QUJD</contextSpecific>"},
      {"A302 0500", "<contextSpecific tag=\"3\" constructed=\"1\"><null></null></contextSpecific>"},
      {"BF1F00", "<contextSpecific tag=\"31\" constructed=\"1\"></contextSpecific>"},
      {"9F87FFFFFF7F00",
       "<contextSpecific tag=\"2147483647\" constructed=\"0\"></contextSpecific>"},
      {"6100", "<application number=\"1\" constructed=\"1\"></application>"},
      {"DF1F00", "<private number=\"31\" constructed=\"0\"></private>"},
      {"DE01 41", "<private number=\"30\" constructed=\"0\">QQ==</private>"},
      // What does not fit its own form.
      {"1002 0500", "<universal number=\"16\">BQA=</universal>"},
      {"2203 020101", "<universal number=\"2\" constructed=\"1\"><int>01</int></universal>"},
      {"0000", "<universal number=\"0\"></universal>"},
      {"2000", "<universal number=\"0\" constructed=\"1\"></universal>"},
      {"2402 0500", "<universal number=\"4\" constructed=\"1\"><null></null></universal>"},
  };
  for (const auto& [hex, xml] : cases) {
    const std::string der = octetsOf(hex);
    EXPECT_EQ(toXml(der), xml) << hex;
    EXPECT_EQ(toDerHex(xml), test::hexOf(der));
  }
}

TEST(DerXmlCodec, BerBecomesDer) {
  const struct {
    const char *ber, *der;
  } cases[] = {
      // Lengths.
      {"30800000", "3000"},
      {"3080 A0800500 0000 0000", "3004A0020500"},
      {"3080 000100 008100 0000", "30050001000000"},  // neither is an end-of-contents
      {"3084 00000004 04810141", "3003040141"},
      // Strings in segments.
      {"2400", "0400"},
      {"2406 04014104 0142", "04024142"},
      {"2480 040141 2480 040142 0000 2403 040143 0000", "0403414243"},
      {"2C06 0401C3 0401A9", "0C02C3A9"},
      {"3303 130141", "130141"},
      {"3704 04025A5A", "17025A5A"},
      {"3803 04015A", "18015A"},
      {"2704 07024141", "07024141"},
      {"3E06 040100 040141", "1E020041"},
      {"2300", "030100"},
      {"2308 030200A5 030204B0", "030304A5B0"},
      {"2380 2304 030201FE 0000", "030201FE"},
      // Not strings in segments: the members stay as they are, in DER.
      {"2308 030204B0 030200A5", "2308030204B0030200A5"},  // unused bits before the last segment
      {"2306 030204B0 2300", "2307030204B0030100"},        // an empty one behind them counts
      {"2302 0300", "23020300"},
      {"2303 030101", "2303030101"},
      {"2403 130141", "2403130141"},
      {"2C05 2403 130141", "2C052403130141"},  // octets hold octets alone
      {"2403 840141", "2403840141"},
      {"2480 2403 040141 2480 0500 0000 0000", "24070401412402 0500"},
      {"2D80 040141 0000", "2D03040141"},  // RELATIVE-OID is no string
  };
  for (const auto& c : cases) {
    const auto xml = toXml(octetsOf(c.ber));
    ASSERT_TRUE(xml) << c.ber;
    const std::string der = octetsOf(c.der);
    EXPECT_EQ(toDerHex(*xml), test::hexOf(der)) << c.ber;
    EXPECT_EQ(toXml(der), xml) << c.ber;
  }
}

TEST(DerXmlCodec, RefusalsSayWhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "0"},
      {"30", "1"},
      {"0480", "1"},       // indefinite and primitive
      {"30FF", "1"},       // the reserved length
      {"3082FF", "3"},     // cut inside the length
      {"0500 00", "2"},    // octets behind the element
      {"3080 0500", "4"},  // no end-of-contents
      {"3080 3080 0000", "6"},
      {"3004 3080 0500", "6"},  // none inside the element around it
      {"3005 0500 310000", "7"},
      {"3003 040241", "3"},            // longer than the input
      {"3005 3002 0402 4142 ", "5"},   // longer than the element around it
      {"2480 0402 41", "3"},           // inside a string in segments
      {"3088 FFFFFFFFFFFFFFFF", "1"},  // lengths that wrap
      {"3089 80000000000000000100", "1"},
      {"9F", "1"},              // tag numbers: cut,
      {"9F81", "2"},            // cut later,
      {"9F8001 00", "1"},       // padded,
      {"9F1E00", "1"},          // in the long form without need,
      {"9F888080800000", "1"},  // 2^31
  };
  for (const auto& [hex, offset] : cases) {
    DataBuffer der;
    der.appendEncoded(hex, "hex");
    StringBuffer xml("kept");
    LogText log;
    EXPECT_FALSE(DerXmlCodec::derToXml(der, false, true, xml, nullptr, log)) << hex;
    EXPECT_EQ(xml.view(), "kept");
    EXPECT_TRUE(log.text().containsSubstring("ERROR: ")) << hex;
    EXPECT_TRUE(log.text().view().ends_with(std::string("  offset: ") + offset + "\n"))
        << hex << "\n"
        << log.text().view();
  }
}

TEST(DerReader, ReadsElementsOfDefiniteLengthAlone) {
  const std::string octets = octetsOf("020105 30800000");
  DerReader reader(test::spanOf(octets));
  Asn1Header header;
  std::span<const unsigned char> content;
  EXPECT_TRUE(reader.readElement(header, content));
  EXPECT_FALSE(reader.readElement(header, content));
  EXPECT_EQ(reader.offset(), 3U);
}

TEST(DerXmlCodec, AppendsTheSubtreeAtTheHandle) {
  LogNull log;
  const _clsOwner tree(ClsXml::createNewCls());
  ASSERT_TRUE(tree->loadXml("<set><set><int>01</int></set><null></null></set>", true, log));
  ASSERT_TRUE(tree->FirstChild2());
  DataBuffer der;
  der.appendChar(0xEE);
  EXPECT_TRUE(DerXmlCodec::xmlToDer(*tree, der, log));
  EXPECT_EQ(test::hexOf(der.view()), "EE3103020101");
}

TEST(DerXmlCodec, HandWrittenXml) {
  const std::pair<const char*, const char*> cases[] = {
      {"<?xml version=\"1.0\"?>\n<sequence>\n  <int> 0a\n fF </int>\n <set>\n "
       "</set>\n</sequence>\n",
       "300602020AFF3100"},
      {"<octets>\n QU\n JD \n</octets>", "0403414243"},
      {"<octets>QQ</octets>", "040141"},
      {"<bits unused=\"0\" note=\"x\">a5</bits>", "030200A5"},
      {"<contextSpecific constructed=\"1\" tag=\"2\"><null/></contextSpecific>", "A2020500"},
      {"<contextSpecific tag=\"2\"/>", "8200"},
      {"<printable>&#xFC;</printable>", "1301FC"},
      {"<universal number=\"16\" constructed=\"1\"/>", "3000"},
      {"<universal number=\"13\" constructed=\"1\"><octets>QQ</octets></universal>", "2D03040141"},
  };
  for (const auto& [xml, hex] : cases) EXPECT_EQ(toDerHex(xml), hex) << xml;
}

TEST(DerXmlCodec, StringsInSegmentsGivenAsXml) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"4", "", "0400"},
      {"4", " <octets>QUI=</octets> <universal number=\"4\">Qw</universal> ", "0403414243"},
      {"12", "<octets>w6k=</octets><utf8>a</utf8>", "0C03C3A961"},
      {"3", "<bits>A5</bits><bits unused=\"4\">B0</bits>", "030304A5B0"},
      {"4", "<universal number=\"4\" constructed=\"1\"><octets>QQ</octets></universal>", "040141"},
      // None of the segments fits, or not in this order: those inside are joined all the same.
      {"12", "<printable>a</printable>", "2C03130161"},
      {"3", "<bits unused=\"4\">B0</bits><bits>A5</bits>", "2308030204B0030200A5"},
      {"4", "<universal number=\"4\" constructed=\"1\"><octets>QQ</octets></universal><null/>",
       "24050401410500"},
  };
  for (const auto& [number, segments, hex] : cases) {
    const std::string start = "<universal constructed=\"1\" number=\"" + std::string(number);
    EXPECT_EQ(toDerHex(start + "\">" + segments + "</universal>"), hex) << segments;
  }
}

void expectRefusedAt(std::string_view xml, std::string_view path) {
  LogText log;
  const _clsOwner tree(ClsXml::createNewCls());
  ASSERT_TRUE(tree->loadXml(xml, true, log)) << xml;
  DataBuffer der;
  der.appendChar(0xEE);
  EXPECT_FALSE(DerXmlCodec::xmlToDer(*tree, der, log)) << xml;
  EXPECT_EQ(der.size(), 1U);
  LogNull quiet;
  EXPECT_FALSE(RefOwner<_vmAsn1>(_vmAsn1::xml_to_asn(*tree, quiet)));
  EXPECT_TRUE(log.text().containsSubstring("ERROR: "));
  EXPECT_TRUE(log.text().view().ends_with("  element: " + std::string(path) + "\n"))
      << xml << "\n"
      << log.text().view();
}

// Each of the arrays of a tree outgrows its first memory, in the middle of an element and more than
// once; toXml holds the tree against the text.
TEST(DerXmlCodec, LargeTreesAreThoseOfTheirText) {
  for (const size_t count : {150U, 170U, 3000U, 60000U}) {
    std::string members;
    for (size_t i = 0; i < count; ++i) {
      members += octetsOf(i % 3 == 0 ? "A110 0303 01F0F1 0C02 FC41 A203 800141 0500" : "0601 29");
      if (i % 64 == 0) members += der::octets(std::string(i % 5000, 'x'));
    }
    EXPECT_TRUE(toXml(der::sequence(members))) << count;
  }
}

TEST(DerXmlCodec, WithoutMemoryConvertsRightOrNotAtAll) {
  std::string members = octetsOf("A110 0303 01F0F1 0C02 FC41 A203 800141 0500 0601 29");
  for (int i = 0; i < 8; ++i) members += der::octets(std::string(100, 'x')) + members;
  const std::string ber = octetsOf("3080") + members + std::string(2, '\0');
  const auto octets = test::spanOf(ber);
  LogNull log;
  const _clsOwner tree(ClsXml::createNewCls());
  StringBuffer text;
  Asn1Fault fault;
  ASSERT_TRUE(DerXmlCodec::derToXml(octets, text, fault) && tree->loadXml(text, true, log));
  const auto shown = [](bool done, const auto& out) {
    EXPECT_TRUE(done || out.failed() || out.empty());
    return done ? std::string(out.view()) : test::kNoMemory;
  };
  const std::function<std::string()> questions[] = {
      [&] {
        StringBuffer xml;
        return DerXmlCodec::derToXml(octets, xml, fault) ? std::string(xml.view())
                                                         : test::kNoMemory;
      },
      [&] {
        const RefOwner<XmlDocument> document(DerXmlCodec::derToTree(octets, fault));
        return std::string(document ? "a tree" : test::kNoMemory);
      },
      [&] {
        DataBuffer der;
        return shown(DerXmlCodec::xmlToDer(*tree, der, log), der);
      },
      [&] {
        DataBuffer der;
        unsigned used = 0;
        const RefOwner<_vmAsn1> node(
            _vmAsn1::DecodeToAsn(octets.data(), static_cast<unsigned>(octets.size()), used, log));
        return shown(node && node->EncodeToDer(der, false, log), der);
      },
      [&] {
        DataBuffer der;
        const RefOwner<_vmAsn1> node(_vmAsn1::xml_to_asn(*tree, log));
        return shown(node && node->EncodeToDer(der, false, log), der);
      },
      [&] {
        const _clsOwner loaded(ClsXml::createNewCls());
        XString again;
        const bool done = loaded && loaded->loadXml(text, true, log) && loaded->GetXml(again);
        return done && !again.failed() ? std::string(again.view()) : test::kNoMemory;
      },
  };
  for (const auto& each : questions) test::expectRightOrNone(each);
}

TEST(DerXmlCodec, RefusesWhatIsNotTheForm) {
  const char* const elements[] = {
      "<Certificate/>", "<sequence>text</sequence>", "<sequence>text<null/></sequence>",
      "<int><int/></int>", "<int>0g</int>", "<int>012</int>", "<octets>QUJDR</octets>",
      "<octets>Q-_D</octets>", "<oid> 2.5.4.3</oid>", "<oid></oid>",
      // Attributes, and characters that the type does not have.
      "<bits unused=\"8\">00</bits>", "<bits unused=\"1\"></bits>", "<bits unused=\"01\">00</bits>",
      "<printable>\xC4\x80</printable>", "<utf8 encoding=\"latin1\">\xE2\x82\xAC</utf8>",
      "<utf8 encoding=\"utf-16\">a</utf8>", "<contextSpecific constructed=\"1\"/>",
      "<contextSpecific number=\"1\"/>", "<contextSpecific tag=\"-1\"/>",
      "<contextSpecific tag=\"2147483648\"/>", "<contextSpecific tag=\"99999999999\"/>",
      "<contextSpecific tag=\"0\"><null/></contextSpecific>",
      "<private number=\"0\" constructed=\"yes\"/>", "<universal tag=\"4\"/>"};
  for (const char* element : elements) {
    const std::string_view text(element);
    expectRefusedAt(text, text.substr(1, text.find_first_of(" />") - 1));
  }
  expectRefusedAt("<sequence><set/><set><oid>2.5.4.3</oid><tag/></set></sequence>",
                  "sequence|set|tag");
}

}  // namespace
}  // namespace velmora
