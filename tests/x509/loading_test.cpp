#include <stdexcept>

#include "tests/x509/signed_certificates.h"

namespace velmora::test {
namespace {

const der::Bytes kCert1 = withField(&der::Certificate::serial, integer("\x11"));
const der::Bytes kCert2 = withField(&der::Certificate::serial, integer("\x22"));
const der::Bytes kCert3 = withField(&der::Certificate::serial, integer("\x33"));

TEST(X509Loading, OneCertificateKeepsItsBytes) {
  VelmoraX509 cert;
  LogText log;
  log.m_verbose = true;
  DataBuffer der = bytesOf(kCert1);
  EXPECT_TRUE(cert.loadX509Der(der, log));
  EXPECT_EQ(derOf(cert), kCert1);
  EXPECT_EQ(cert.getCertDerSize(), static_cast<int>(kCert1.size()));
  EXPECT_EQ(serialOf(cert), "11");
  EXPECT_EQ(log.text().view(), "loadX509Der:\n  loadX509DerAlt:\n");
  der.reserve(SIZE_MAX);  // cannot be had, so it leaves the mark
  ASSERT_TRUE(der.failed());
  EXPECT_FALSE(cert.loadX509Der(der, log));
}

TEST(X509Loading, ABundleBecomesItsFirstCertificateAndFillsTheStore) {
  VelmoraX509 cert;
  SystemCerts store;
  LogText log;
  log.m_verbose = true;
  EXPECT_TRUE(load(cert, der::bundle(kCert2, kCert1, kCert3), log, &store));
  EXPECT_EQ(contentsOf(store), (std::vector<std::string>{kCert2, kCert1, kCert3}));
  EXPECT_EQ(derOf(cert), kCert2);
  EXPECT_EQ(serialOf(cert), "22");
  EXPECT_EQ(log.text().view(),
            "loadX509DerAlt:\n"
            "  numPkcs7Certs: 3\n"
            "  Loading PKCS7 (p7b) certificate...\n"
            "  Loading PKCS7 (p7b) certificate...\n"
            "  Loading PKCS7 (p7b) certificate...\n"
            "  success: 1\n");

  LogText quiet;
  EXPECT_TRUE(load(cert, der::bundle(kCert3, kCert1), quiet));
  EXPECT_EQ(serialOf(cert), "33");
  EXPECT_EQ(quiet.text().view(), "loadX509DerAlt:\n");
  log.clear();
  EXPECT_FALSE(load(cert, der::bundle(), log));
  EXPECT_EQ(log.text().view(), "loadX509DerAlt:\n  numPkcs7Certs: 0\n  success: 0\n");
}

TEST(X509Loading, FailuresSayWhyAndKeepTheNewBytes) {
  const char* kNotDer = "Failed to convert DER to XML.";
  const char* kEmpty = "Cert XML is empty.";
  const char* kNotBundle = "Unrecognized PKCS7 cert format.";
  const der::Bytes oid = der::oid("1.2.840.113549.1.7.2");
  const struct {
    der::Bytes bytes;
    const char* lastError;  // "": none
    const char* serial;     // as the tree of afterwards shows it
  } kCases[] = {
      {"", kNotDer, "11"},
      {"not DER", kNotDer, "11"},
      {kCert2 + "\n", kNotDer, "11"},
      {sequence(), kEmpty, ""},
      {sequence(oid, context(0, octets("data"))), kNotBundle, ""},
      {sequence(oid, context(0, sequence(integer("\x01"), set()))), kNotBundle, ""},
      {der::bundle(), "", ""},
      {sequence(oid, context(0, sequence(context(0))), sequence(integer("\x77"))), "", "77"},
  };
  for (const auto& [bytes, lastError, serial] : kCases) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    LoadedX509 cert(kCert1);
    ErrorLog log;
    EXPECT_FALSE(load(cert, bytes, log));
    EXPECT_EQ(log.errors.empty(), *lastError == 0);
    EXPECT_TRUE(log.errors.ends_with(lastError)) << log.errors;
    EXPECT_EQ(derOf(cert), bytes);
    EXPECT_EQ(serialOf(cert), serial);
    LogNull noLog;
    EXPECT_TRUE(load(cert, kCert3, noLog));
    EXPECT_EQ(serialOf(cert), "33");
  }
}

TEST(X509LoadingFromXml, EveryOutcomeLeavesTheHandleWhereItWas) {
  const std::string first = "<c>" + xmlOf(kCert1) + "</c>";
  const std::string second = "<c>" + xmlOf(kCert2) + "<x></x></c>";
  const std::tuple<std::string, bool, std::string> kCases[] = {
      {"", true, ""},
      {first + second, true, "11 22 "},
      {first + "<c></c>" + second, false, "11 "},
      {first + "<c>text</c>", false, "11 "},
      {"<c><unknown></unknown></c>", false, ""},
      {"<c><int>no digits</int></c>", false, ""},
      {"<c><null></null></c>", true, " "},  // any ASN.1 is taken
  };
  for (const auto& [children, result, serials] : kCases) {
    SCOPED_TRACE(serials);
    const _clsOwner xml(ClsXml::createNewCls());
    LogNull log;
    ASSERT_TRUE(
        xml->loadXml("<doc><before></before><certs>" + children + "</certs></doc>", true, log));
    ASSERT_TRUE(xml->getChild2(1));
    ExtPtrArrayRc certs;
    EXPECT_EQ(VelmoraX509::loadX509_fromXml(xml.get(), certs, log), result);
    EXPECT_TRUE(xml->tagEquals("certs"));
    std::string loaded;
    for (int i = 0; i < certs.getSize(); ++i) {
      auto* cert = static_cast<VelmoraX509*>(certs.elementAt(i));
      EXPECT_EQ(cert->refCount(), 1);
      loaded += serialOf(*cert) + " ";
    }
    EXPECT_EQ(loaded, serials);
  }
}

// Text in which the signed part is spelled so that the getters would pass over it.
TEST(X509LoadingFromXml, ReadsTheBytesThatASignatureIsOver) {
  constexpr std::string_view kOpen("<sequence>");
  const std::string text = xmlOf(der::Certificate().der());
  const size_t end = text.find("</sequence><sequence><oid>1.2.840.113549.1.1.12");
  ASSERT_NE(end, std::string::npos);
  const std::string tbs = text.substr(2 * kOpen.size(), end - 2 * kOpen.size());
  const std::string forged = xmlOf(withSubject(der::name({{"2.5.4.3", "forged"}})));
  const std::string hidden = "<universal number=\"16\" constructed=\"1\">" + tbs + "</universal>";
  LoadedFromXml loaded("<c><sequence>" + hidden + forged.substr(kOpen.size()) + "</c>");
  EXPECT_EQ(subjectOf(loaded.first()), "C=US, O=Acme, CN=host");
}

TEST(X509LoadingFromXml, NamesEachCertificateInAVerboseLog) {
  const _clsOwner xml(ClsXml::createNewCls());
  LogText log;
  ASSERT_TRUE(xml->loadXml("<certs><c>" + xmlOf(kCert1) + "</c></certs>", true, log));
  log.m_verbose = true;
  ExtPtrArrayRc certs;
  EXPECT_FALSE(VelmoraX509::loadX509_fromXml(nullptr, certs, log));
  EXPECT_TRUE(VelmoraX509::loadX509_fromXml(xml.get(), certs, log));
  ASSERT_EQ(certs.getSize(), 1);
  EXPECT_EQ(derOf(*static_cast<VelmoraX509*>(certs.elementAt(0))), kCert1);
  EXPECT_EQ(log.text().view(),
            "loadX509_fromXml:\nloadX509_fromXml:\n"
            "  numCerts: 1\n"
            "  Loading PKCS7 (p7b) certificate...\n"
            "  dn_getDN:\n"
            "  xDn: C=US, O=Acme, CN=host\n");
}

TEST(X509Holder, KeepsOneCountedReference) {
  LogNull log;
  const std::unique_ptr<VelmoraX509> uncounted(VelmoraX509::createNewX509());
  EXPECT_EQ(uncounted->refCount(), 0);
  const auto x = VelmoraX509::createOwnedX509();
  {
    ExtPtrArray certs;
    EXPECT_FALSE(VelmoraX509Holder::appendNewX509Holder(nullptr, certs, log));
    EXPECT_TRUE(VelmoraX509Holder::appendNewX509Holder(x.get(), certs, log));
    EXPECT_EQ(VelmoraX509Holder::getNthX509(certs, 0), x.get());
    EXPECT_EQ(VelmoraX509Holder::getNthX509(certs, 1), nullptr);
    EXPECT_EQ(VelmoraX509Holder::getX509FromArray(certs, 0xFFFFFFFF), nullptr);
    EXPECT_EQ(x->refCount(), 2);

    VelmoraX509Holder other;
    other.setX509(other.getX509Ptr());
    EXPECT_EQ(other.getX509Ptr()->refCount(), 1);
    other.setX509(x.get());
    other.setX509(nullptr);
    EXPECT_EQ(other.getX509Ptr(), x.get());
    EXPECT_EQ(x->refCount(), 3);
  }
  EXPECT_EQ(x->refCount(), 1);
}

class ThrowingLog final : public ErrorLog {
 public:
  void LogError(const char* message) override { throw std::runtime_error(message); }
};

TEST(X509Holder, IsHandedOutAsItStandsWhenTheLogThrows) {
  ThrowingLog log;
  const Holder holder = holderOf(sequence(), log);
  ASSERT_TRUE(holder);
  EXPECT_NE(holder->getX509Ptr(), nullptr);
}

}  // namespace
}  // namespace velmora::test
