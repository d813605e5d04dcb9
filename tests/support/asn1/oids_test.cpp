#include "velmora/support/asn1/oids.h"

#include <gtest/gtest.h>

#include "tests/support/asn1/codec_texts.h"

namespace velmora {
namespace {

using test::octetsOf;
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
  const std::pair<std::string, std::string> cases[] = {
      {"00", "0.0"},
      {"28", "1.0"},
      {"50", "2.0"},
      {"550403", "2.5.4.3"},
      {"8837", "2.999"},
      {"2A864886F70D01010B", "1.2.840.113549.1.1.11"},
      {"81FFFFFFFFFFFFFFFF7F", "2.18446744073709551535"},  // 2^64 - 1 for both arcs together
      // A UUID, X.667 §7.
      {"6983F09DA7EBCFDEE0C7A1A7B2C0948CC8F9D776", "2.25.329800735698586629295641978511506172918"},
      {"2AFFFFFFFFFFFFFFFF7F", "1.2.9223372036854775807"},
      {"2AFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF7F",
       "1.2.664613997892457936451903530140172287"},  // 2^119-1
      {"BFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF7F", "2.42535295865117307932921825928971026351"},
      // The 80 of the first arc is borrowed from more than the lowest nine digits.
      {"87E8808080808082CC93D00A", "2.1180591620717411999999930"},
  };
  for (const auto& [hex, dotted] : cases) {
    EXPECT_EQ(dottedOf(octetsOf(hex)), dotted);
    EXPECT_EQ(contentOf(dotted), hex);
  }
}

TEST(Oids, RefusesEverythingElse) {
  for (const char* hex : {"", "80", "8001", "2A8001", "2A86"}) {
    EXPECT_EQ(dottedOf(octetsOf(hex)), "refused") << hex;
  }
  for (const char* dotted :
       {"", "1", "1.", ".1", "3.1", "1.40", "0.99", "1.100", "01.2", "1.02", "1.2.", "1..2", "1.-2",
        "1.2 ", " 1.2", "1.2a", "11.2", "1.2.00000000000000000000000000000000000"}) {
    EXPECT_EQ(contentOf(dotted), "refused") << dotted;
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
