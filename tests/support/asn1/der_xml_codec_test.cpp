#include "velmora/support/asn1/der_xml_codec.h"

#include <functional>

#include "tests/common/allocation_fault.h"
#include "tests/common/der_builder.h"
#include "tests/common/table_file.h"
#include "tests/support/asn1/codec_texts.h"

namespace velmora {
namespace {

namespace der = test::der;
using test::octetsOf;
using test::Row;
using test::toDerHex;
using test::toXml;

TEST(DerXmlCodec, DerBothWays) {
  for (const Row& row : test::tableOf("der_xml", "DER and its text")) {
    const std::string der = octetsOf(row[0]);
    EXPECT_EQ(toXml(der), row[1]) << row[0];
    EXPECT_EQ(toDerHex(row[1]), test::hexOf(der));
  }
}

TEST(DerXmlCodec, BerBecomesDer) {
  for (const Row& row : test::tableOf("der_xml", "BER and its DER")) {
    const auto xml = toXml(octetsOf(row[0]));
    ASSERT_TRUE(xml) << row[0];
    const std::string der = octetsOf(row[1]);
    EXPECT_EQ(toDerHex(*xml), test::hexOf(der)) << row[0];
    EXPECT_EQ(toXml(der), xml) << row[0];
  }
}

TEST(DerXmlCodec, RefusalsSayWhere) {
  for (const Row& row : test::tableOf("der_xml", "refused, and at which offset")) {
    const std::string &hex = row[0], &offset = row[1];
    DataBuffer der;
    der.appendEncoded(hex, "hex");
    StringBuffer xml("kept");
    LogText log;
    EXPECT_FALSE(DerXmlCodec::derToXml(der, false, true, xml, nullptr, log)) << hex;
    EXPECT_EQ(xml.view(), "kept");
    EXPECT_TRUE(log.text().containsSubstring("ERROR: ")) << hex;
    EXPECT_TRUE(log.text().view().ends_with("  offset: " + offset + "\n")) << hex << "\n"
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
  for (const Row& row : test::tableOf("der_xml", "text written by hand, and its DER")) {
    EXPECT_EQ(toDerHex(row[0]), row[1]) << row[0];
  }
}

TEST(DerXmlCodec, StringsInSegmentsGivenAsXml) {
  for (const Row& row : test::tableOf("der_xml", "strings in segments: type, segments, DER")) {
    const std::string start = "<universal constructed=\"1\" number=\"" + row[0] + "\">";
    EXPECT_EQ(toDerHex(start + row[1] + "</universal>"), row[2]) << row[1];
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
  for (const Row& row : test::tableOf("der_xml", "elements that are not of the form")) {
    expectRefusedAt(row[0], row[0].substr(1, row[0].find_first_of(" />") - 1));
  }
  expectRefusedAt("<sequence><set/><set><oid>2.5.4.3</oid><tag/></set></sequence>",
                  "sequence|set|tag");
}

}  // namespace
}  // namespace velmora
