#include "velmora/x509/trusted_root_registration.h"

#include "tests/x509/signed_certificates.h"

namespace velmora::test {
namespace {

TEST(TrustedRootRegistration, RefusesWhatIsNoRootAndKeepsToItsSet) {
  const NoTrustedRoots none;
  LogNull log;
  der::Certificate fields;
  const auto add = [&] {
    LoadedX509 cert(fields.der());
    return addTrustedRoot(cert, "own", log);
  };
  EXPECT_FALSE(add()) << "another issued it";
  fields.issuer = fields.subject;
  EXPECT_TRUE(add());
  fields.publicKey = sequence(algorithm("1.2.840.113549.1.1.1"), bits("other"));
  EXPECT_FALSE(add()) << "the name is taken";
  fields.publicKey = sequence(null());
  EXPECT_FALSE(add()) << "no key";
  fields.serial = octets("x");
  EXPECT_FALSE(add()) << "no serial number";
  LoadedX509 noSerial(fields.der());
  EXPECT_FALSE(trustRootImplicitly(noSerial, "own", log));
  VelmoraX509 never;
  EXPECT_FALSE(addTrustedRoot(never, "own", log));
  EXPECT_EQ(TrustedRoots::getCount("own"), 1u);
  LoadedX509 marked(der::Certificate().der());
  EXPECT_TRUE(trustRootImplicitly(marked, "own", log));
  EXPECT_FALSE(removeTrustedRoot(marked, nullptr, log));
  EXPECT_TRUE(removeTrustedRoot(marked, "own", log));
  EXPECT_EQ(TrustedRoots::getCount(nullptr) + TrustedRoots::getCount("own"), 0u);
}

}  // namespace
}  // namespace velmora::test
