#include "velmora/support/asn1/oids.h"

#include "tests/common/table_file.h"
#include "tests/support/asn1/codec_texts.h"

namespace velmora {
namespace {

using test::octetsOf;
using test::Row;
using test::spanOf;

std::string dottedOf(std::string_view octets) {
  StringBuffer out("|");
  if (oidToDotted(spanOf(octets), out)) return std::string(out.view().substr(1));
  EXPECT_EQ(out.view(), "|");
  return "refused";
}

std::string contentOf(std::string_view dotted) {
  DataBuffer out;
  out.appendChar('|');
  if (dottedToOid(dotted, out)) return test::hexOf(out.view().substr(1));
  EXPECT_EQ(out.view(), "|");
  return "refused";
}

TEST(Oids, BothWays) {
  for (const Row& row : test::tableOf("oids", "content, text")) {
    EXPECT_EQ(dottedOf(octetsOf(row[0])), row[1]);
    EXPECT_EQ(contentOf(row[1]), row[0]);
  }
}

TEST(Oids, RefusesEverythingElse) {
  for (const char* hex : {"", "80", "8001", "2A8001", "2A86"}) {
    EXPECT_EQ(dottedOf(octetsOf(hex)), "refused") << hex;
  }
  EXPECT_EQ(contentOf(""), "refused");
  for (const Row& row : test::tableOf("oids", "no OID")) {
    EXPECT_EQ(contentOf(row[0]), "refused") << row[0];
  }
}

TEST(Oids, ArcsUpToTheirBound) {
  std::string octets(kMaxOidArcOctets, '\xFF');
  octets.back() = '\x7F';
  octets.insert(0, 1, '\x2A');
  const std::string longest = dottedOf(octets);
  EXPECT_EQ(longest.size(), 4U + 1079);  // 2^3584 - 1 has 1079 digits
  EXPECT_EQ(contentOf(longest), test::hexOf(octets));

  octets.insert(1, 1, '\x81');
  EXPECT_EQ(dottedOf(octets), "refused");
  const std::string power = "1.2.1" + std::string(1079, '0');
  EXPECT_EQ(contentOf(power), "refused");
  EXPECT_EQ(contentOf("1.2.9" + std::string(1078, '9')), "refused");  // as many digits, but larger
}

}  // namespace
}  // namespace velmora
