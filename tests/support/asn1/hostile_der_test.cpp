
#include "tests/common/der_builder.h"
#include "tests/support/asn1/codec_texts.h"
#include "velmora/support/asn1/oids.h"

// Inputs that an attacker would send. Work on them is bounded by their size, so that one which is
// not handled in linear time shows as a test that does not come back.

namespace velmora {
namespace {

namespace der = test::der;
using test::hexOf;
using test::toDerHex;
using test::toXml;

// `wrap` around `innermost` until `count` elements are nested.
template <class Wrap>
std::string nested(int count, std::string innermost, Wrap wrap) {
  while (--count > 0) innermost = wrap(innermost);
  return innermost;
}

TEST(HostileDer, DepthIsBounded) {
  const auto inSequence = [](const std::string& inner) { return der::sequence(inner); };
  const auto inSegments = [](const std::string& inner) { return der::element(0x24, inner); };
  const auto deepest = nested(100, der::null(), inSequence);
  EXPECT_EQ(toDerHex(toXml(deepest).value()), hexOf(deepest));
  EXPECT_EQ(toXml(nested(100, der::octets("a"), inSegments)), "<octets>YQ==</octets>");

  EXPECT_FALSE(toXml(nested(101, der::null(), inSequence)));
  EXPECT_FALSE(toXml(nested(101, der::octets("a"), inSegments)));
  EXPECT_FALSE(toXml(std::string(20'000, '\x30')));
  std::string indefinite;
  for (int i = 0; i < 10'000; ++i) indefinite += "\x30\x80";
  EXPECT_FALSE(toXml(indefinite));

  const auto inXmlSegments = [](const std::string& inner) {
    return "<universal number=\"4\" constructed=\"1\">" + inner + "</universal>";
  };
  EXPECT_EQ(toDerHex(nested(100, "<octets>YQ==</octets>", inXmlSegments)), "040161");
  const auto inSet = [](const std::string& inner) { return "<set>" + inner + "</set>"; };
  EXPECT_EQ(toDerHex(nested(100, "<null/>", inSet)).substr(0, 4), "3181");
  const std::string refusal = toDerHex(nested(101, "<null/>", inSet));
  EXPECT_NE(refusal.find("|set|null"), std::string::npos) << refusal;
}

// The smallest elements take thirty times their octets as text, so their number is bounded.
TEST(HostileDer, NumberOfElementsIsBounded) {
  const auto repeated = [](size_t count, std::string_view one) {
    std::string all;
    while (count-- > 0) all += one;
    return all;
  };
  EXPECT_TRUE(toXml(der::sequence(repeated(131'072, der::null()))));
  EXPECT_FALSE(toXml(der::sequence(repeated(131'073, der::null()))));
  // Segments that turn out not to fit are walked twice and count once.
  EXPECT_TRUE(toXml(der::element(0x24, repeated(131'071, der::octets("")) + der::null())));
  EXPECT_FALSE(toXml(der::element(0x24, repeated(131'072, der::octets("")) + der::null())));
  // What stands in a tree has its memory already.
  EXPECT_EQ(toDerHex("<universal number=\"4\" constructed=\"1\">" + repeated(200'000, "<octets/>") +
                     "</universal>"),
            "0400");
}

TEST(HostileDer, LengthOfArcsIsBounded) {
  for (const size_t arc : {kMaxOidArcOctets, kMaxOidArcOctets + 1, size_t{1'000'000}}) {
    const std::string content = der::join("\x2A", std::string(arc - 1, '\x81'), "\x01");
    const auto xml = toXml(der::element(0x06, content));
    EXPECT_EQ(xml.value().starts_with("<oid>"), arc == kMaxOidArcOctets);
    EXPECT_EQ(toDerHex(*xml), hexOf(der::element(0x06, content)));
  }
}

}  // namespace
}  // namespace velmora
