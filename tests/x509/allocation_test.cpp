#include "tests/common/allocation_fault.h"

#include "tests/common/certificate_files.h"
#include "tests/x509/all_getters.h"
#include "tests/x509/signed_certificates.h"
#include "velmora/reading/trusted_root_loading.h"
#include "velmora/x509/trusted_root_registration.h"

// Every operation with each of its allocations failing in turn: no crash, no leak, and no result
// that passes for a right one.

namespace velmora::test {
namespace {

const der::Bytes kCert = der::Certificate().der();
constexpr const char* kSubject = "C=US, O=Acme, CN=host";

TEST(X509OutOfMemory, LoadingFailsOrIsRight) {
  for (const der::Bytes& der : {kCert, der::bundle(kCert, kCert)}) {
    bool loaded = false;
    RefOwner<VelmoraX509> cert;
    SystemCerts store;
    LogNull log;
    log.m_verbose = true;
    const size_t faults = forEachAllocationFault(
        [&] {
          cert = VelmoraX509::createOwnedX509();
          loaded = cert && load(*cert, der, log, &store);
        },
        [&](bool faulted) {
          EXPECT_TRUE(loaded || faulted);
          if (!cert) return;
          EXPECT_TRUE(!loaded || subjectOf(*cert) == kSubject);
          // Only a certificate that never got its tree stays useless.
          LogText said;
          const bool reloaded = load(*cert, kCert, said);
          EXPECT_EQ(reloaded, subjectOf(*cert) == kSubject);
          EXPECT_NE(reloaded, said.text().containsSubstring("Failed to load X509 XML."));
        });
    EXPECT_GT(faults, 0u);
  }
}

TEST(X509OutOfMemory, HoldersAreCompleteOrNull) {
  LogNull log;
  Holder holder;
  forEachAllocationFault([&] { holder = holderOf(kCert, log); },
                         [&](bool faulted) {
                           EXPECT_TRUE(holder != nullptr || faulted);
                           EXPECT_TRUE(!holder || subjectOf(*holder->getX509Ptr()) == kSubject);
                         });
}

TEST(X509OutOfMemory, LoadingFromXmlFailsOrIsRight) {
  LogNull log;
  log.m_verbose = true;
  const _clsOwner xml(ClsXml::createNewCls());
  const std::string child = "<c>" + xmlOf(kCert) + "</c>";
  ASSERT_TRUE(xml->loadXml("<certs>" + child + child + "</certs>", true, log));
  ExtPtrArrayRc certs;
  bool loaded = false;
  forEachAllocationFault(
      [&] {
        certs.removeAllObjects();
        loaded = VelmoraX509::loadX509_fromXml(xml.get(), certs, log);
      },
      [&](bool faulted) {
        EXPECT_TRUE(loaded || faulted);
        EXPECT_TRUE(xml->tagEquals("certs"));
        EXPECT_TRUE(!loaded || certs.getSize() == 2);
        for (int i = 0; i < certs.getSize(); ++i) {
          EXPECT_EQ(subjectOf(static_cast<VelmoraX509&>(*certs.elementAt(i))), kSubject);
        }
      });
}

// A certificate whose every field takes memory to read, of a kind of key.
der::Bytes richCertificate(const der::Bytes& publicKey) {
  const std::string longText(100, 'x');
  der::Certificate fields;
  fields.subject =
      sequence(set(attribute("1.2.840.113549.1.9.1", ia5("a@b" + longText))),
               set(attribute("2.5.4.3", bmp(u"Z\u00FC, rich, and long enough to be moved"))),
               set(attribute("2.5.4.12", printable(longText))));
  fields.issuer = der::name({{"1.2.840.113549.1.9.1", "issuer@example.org"}});
  fields.publicKey = publicKey;
  fields.validity = sequence(generalizedTime("20200101000000." + std::string(100, '9')),
                             utcTime("491231235959Z"));
  const der::Bytes name = element(0x82, longText);
  const der::Bytes other = context(0, der::oid("1.2.3"), context(0, utf8(longText)));
  fields.extensions =
      listOf(extension("2.5.29.14", octets(longText)),
             extension("2.5.29.35", sequence(element(0x80, longText), context(1))),
             extension("2.5.29.17",
                       sequence(name, other, context(4, fields.subject), element(0x81, "c@d"))));
  return fields.der();
}

// A right answer, or one that says that it is none; and none that stays.
TEST(X509OutOfMemory, GettersAreRightOrSayThatTheyAreNot) {
  const der::Bytes rsa = sequence(algorithm("1.2.840.113549.1.1.1"), bits("key"));
  const der::Bytes ec = sequence(algorithm("1.2.840.10045.2.1"), bits(std::string(65, 'p')));
  for (const der::Bytes& publicKey : {rsa, ec}) {
    const der::Bytes der = richCertificate(publicKey);
    for (const NamedGetter& getter : kGetters) {
      SCOPED_TRACE(getter.name);
      LogNull log;
      Answer whole;
      LoadedX509 reference(der);
      getter.ask(reference, log, whole);
      std::unique_ptr<LoadedX509> cert(new LoadedX509(der));
      Answer answer;
      forEachAllocationFault(
          [&] { getter.ask(*cert, log, answer); },
          [&](bool faulted) {
            const bool right = answer.str() == whole.str();
            EXPECT_TRUE(right || (faulted && (answer.failed() || !answer.result))) << answer.str();
            EXPECT_EQ(serialOf(*cert), "01") << "the handle is not back on the root";
            for (const NamedGetter& other : kGetters) {
              Answer before;
              Answer after;
              other.ask(reference, log, before);
              other.ask(*cert, log, after);
              EXPECT_EQ(after.str(), before.str()) << "then " << other.name;
            }
            cert.reset(new LoadedX509(der));
            answer.clear();
          });
    }
  }
}

// What memory ran out for is not absent, so that nothing weaker decides in its place.
TEST(X509OutOfMemory, IssuersMatchOrDoNot) {
  const auto keyIds = [](const std::string& authority, const std::string& subject) {
    const der::Bytes segments = element(0x33, octets("joined when read"));
    der::Certificate fields;
    fields.issuer = fields.subject;
    fields.extensions =
        listOf(extension("2.5.29.35", sequence(primitive(0, authority), context(1, segments))),
               extension("2.5.29.14", octets(subject)));
    return fields.der();
  };
  const der::Bytes namesake = der::name({{"2.5.4.5", "0A"}, {"2.5.4.3", "host"}});
  const struct {
    der::Bytes cert, issuer;
  } rows[] = {
      {keyIds(std::string(40, 'a'), "b"), keyIds("a", std::string(40, 'b'))},
      {withField(&der::Certificate::issuer, namesake), withSubject(namesake)},
  };
  for (const auto& row : rows) {
    LoadedX509 cert(row.cert), issuer(row.issuer);
    LogNull log;
    bool issued = false;
    forEachAllocationFault([&] { issued = cert.isIssuedBy(issuer, log); },
                           [&](bool) { EXPECT_FALSE(issued) << &row - rows; });
  }
}

// A certificate that could not be loaded does not speak for the one before it.
TEST(X509OutOfMemory, OfALoadThatFailedNothingVerifies) {
  const NoTrustedRoots none;
  SignedCertificates all;
  const std::string genuine = all.byName("sha256 by P-256").der;
  LogNull log;
  std::unique_ptr<LoadedX509> cert(new LoadedX509(kCert));
  // A bundle that, taken for a certificate, has a subject of its own.
  const der::Bytes forged =
      sequence(der::oid("1.2.840.113549.1.7.2"), context(0, sequence(context(0, genuine))),
               sequence(sequence(), sequence(), sequence(), der::Certificate().subject));
  for (const std::string& bytes : {genuine, forged}) {
    forEachAllocationFault(
        [&] { load(*cert, bytes, log); },
        [&](bool faulted) {
          const bool verified = cert->verifyCertSignature(&all.issuer("P-256"), log);
          EXPECT_TRUE(verified ? subjectOf(*cert) == "CN=host" : faulted);
          DataBuffer der;
          cert->getCertDer(der);
          EXPECT_NE(der.empty(), !der.failed()) << "no bytes, and nothing says so";
          cert.reset(new LoadedX509(kCert));
        });
  }
}

// Under its whole name or not at all.
TEST(X509OutOfMemory, RootsAreRegisteredOrNot) {
  const NoTrustedRoots none;
  constexpr const char* kFile = VELMORA_SOURCE_DIR "/tests/data/reader/three_0.der";
  const std::string der = fileContent(kFile);
  const auto fromFile = [](VelmoraX509&, const char* set, LogBase& log) {
    const TrustedRootCount count = addTrustedRootsFrom(kFile, set, log);
    EXPECT_EQ(count.registered + count.refused, 1u);
    return count.registered == 1;
  };
  LogNull log, compact;
  compact.m_optionKeywords.append("DN_NoSpaceAfterComma");
  for (auto* add : {+fromFile, addTrustedRoot, trustRootImplicitly}) {
    std::unique_ptr<LoadedX509> root(new LoadedX509(der));
    bool added = false;
    forEachAllocationFault([&] { added = add(*root, nullptr, log); },
                           [&](bool faulted) {
                             EXPECT_TRUE(added || faulted);
                             EXPECT_EQ(TrustedRoots::getCount(nullptr), added ? 1u : 0u);
                             EXPECT_EQ(root->verifyCertSignature(nullptr, log), added);
                             EXPECT_EQ(root->verifyCertSignature(nullptr, compact), added);
                             TrustedRoots::clear(nullptr);
                             root.reset(new LoadedX509(der));
                           });
    ASSERT_TRUE(add(*root, nullptr, log));
    bool removed = false;
    forEachAllocationFault([&] { removed = removeTrustedRoot(*root, nullptr, log); },
                           [&](bool faulted) {
                             EXPECT_EQ(removed, !faulted);
                             EXPECT_EQ(TrustedRoots::getCount(nullptr), removed ? 0u : 1u);
                             root.reset(new LoadedX509(der));
                           });
  }
}

// Neither a bad signature nor a root that nobody trusts passes for a good one.
TEST(X509OutOfMemory, SignaturesAreRightOrRefused) {
  const NoTrustedRoots none;
  SignedCertificates all;
  LogNull log;
  log.m_verbose = true;
  ASSERT_TRUE(addTrustedRoot(all.issuer("P-384"), nullptr, log));
  // What is left of the namesake's name and serial number where memory runs out is trusted.
  for (const TrustedRoots::Name& rest :
       {TrustedRoots::Name{"", "issuer", "issuer"}, {"01", "", ""}}) {
    ASSERT_TRUE(TrustedRoots::trustImplicitly(nullptr, rest, log));
  }
  const std::tuple<std::string, const char*, bool> rows[] = {
      {all.byName("sha256 by P-256").der, "P-256", true},
      {all.byName("sha256 by rsa-1024").der, "rsa-1024", true},
      {all.byName("P-256: r is the order").der, "P-256", false},
      {all.byName("unknown hash is not SHA-256").der, "rsa-1024", false},
      {all.byName("PSS with another hash").der, "rsa-1024", false},
      {derOf(all.issuer("P-384")), "P-384", true},
      {derOf(all.issuer("P-256")), "P-256", false},
      {derOf(all.issuer("namesake")), "rsa-1024", false},
  };
  for (const auto& [der, issuer, expected] : rows) {
    bool verified = false;
    std::unique_ptr<LoadedX509> cert;
    const auto renew = [&, &der = der] { cert = std::make_unique<LoadedX509>(der); };
    renew();
    const size_t faults = forEachAllocationFault(
        [&, issuer = issuer] { verified = cert->verifyCertSignature(&all.issuer(issuer), log); },
        [&, issuer = issuer, expected = expected](bool faulted) {
          EXPECT_TRUE(expected || !verified) << issuer;
          EXPECT_TRUE(faulted || verified == expected) << issuer;
          renew();
        });
    EXPECT_GT(faults, 0u);
  }
}

}  // namespace
}  // namespace velmora::test
