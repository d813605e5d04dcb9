#include "tests/x509/x509_test.h"

namespace velmora::test {

template struct PrivateFields<&VelmoraX509::m_certDer, &VelmoraX509::m_keyId64>;

namespace {

der::Bytes certWithSerial(std::string_view serial) {
  der::Certificate fields;
  fields.serial = der::integer(serial);
  return fields.der();
}

const der::Bytes kCert1 = certWithSerial("\x11");
const der::Bytes kCert2 = certWithSerial("\x22");
const der::Bytes kCert3 = certWithSerial("\x33");

TEST(X509Loading, OneCertificateKeepsItsBytes) {
  VelmoraX509 cert;
  LogText log;
  log.m_verbose = true;
  DataBuffer der;
  der.append(kCert1.data(), kCert1.size());
  EXPECT_TRUE(cert.loadX509Der(der, log));
  EXPECT_EQ(certDerOf(cert).view(), kCert1);
  EXPECT_EQ(serialOf(cert), "11");
  EXPECT_EQ(log.text().view(), "loadX509Der:\n  loadX509DerAlt:\n");

  EXPECT_TRUE(load(cert, kCert2, log));
  EXPECT_EQ(certDerOf(cert).view(), kCert2);
  EXPECT_EQ(serialOf(cert), "22");
}

TEST(X509Loading, BytesThatRanOutOfMemoryAreNotLoaded) {
  DataBuffer der;
  der.append(kCert1.data(), kCert1.size());
  der.reserve(SIZE_MAX);  // cannot be had, so it leaves the mark
  ASSERT_TRUE(der.failed());
  VelmoraX509 cert;
  LogNull log;
  EXPECT_FALSE(cert.loadX509Der(der, log));
}

std::vector<std::string> contentsOf(const SystemCerts& store) {
  std::vector<std::string> certs;
  DataBuffer der;
  for (size_t i = 0; store.getNthCertDer(i, der); ++i) certs.emplace_back(der.view());
  return certs;
}

TEST(X509Loading, ABundleBecomesItsFirstCertificateAndFillsTheStore) {
  VelmoraX509 cert;
  SystemCerts store;
  LogText log;
  log.m_verbose = true;
  EXPECT_TRUE(load(cert, der::bundle(kCert2, kCert1, kCert3), log, &store));
  EXPECT_EQ(contentsOf(store), (std::vector<std::string>{kCert2, kCert1, kCert3}));
  EXPECT_EQ(certDerOf(cert).view(), kCert2);
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
}

TEST(X509Loading, FailuresSayWhyAndKeepTheNewBytes) {
  const char* kNotDer = "Failed to convert DER to XML.";
  const char* kEmpty = "Cert XML is empty.";
  const char* kNotBundle = "Unrecognized PKCS7 cert format.";
  const der::Bytes oid = der::oid("1.2.840.113549.1.7.2");
  const struct {
    der::Bytes bytes;
    const char* lastError;  // null: none
    const char* serial;     // as the tree of afterwards shows it
  } kCases[] = {
      {"", kNotDer, "11"},
      {"not DER", kNotDer, "11"},
      {kCert2.substr(0, kCert2.size() - 1), kNotDer, "11"},
      {kCert2 + "\n", kNotDer, "11"},
      {der::sequence(), kEmpty, ""},
      {der::integer("\x05"), kEmpty, ""},
      {der::sequence(oid, der::null()), kNotBundle, ""},
      {der::sequence(oid, der::context(0, der::octets("data"))), kNotBundle, ""},
      {der::sequence(oid, der::context(0, der::sequence(der::integer("\x01"), der::set()))),
       kNotBundle, ""},
      {der::bundle(), nullptr, ""},
      {der::sequence(oid, der::context(0, der::sequence(der::context(0))),
                     der::sequence(der::integer("\x77"))),
       nullptr, "77"},
  };
  for (const auto& [bytes, lastError, serial] : kCases) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    LoadedX509 cert(kCert1);
    keyIdOf(cert).append("0123456789ABCDEF");
    ErrorLog log;
    EXPECT_FALSE(load(cert, bytes, log));
    EXPECT_EQ(log.errors.empty(), lastError == nullptr);
    if (lastError != nullptr && !log.errors.empty()) {
      EXPECT_EQ(log.errors.back(), lastError);
    }
    EXPECT_EQ(certDerOf(cert).view(), bytes);
    EXPECT_TRUE(keyIdOf(cert).isEmpty());
    EXPECT_EQ(serialOf(cert), serial);
    LogNull noLog;
    EXPECT_TRUE(load(cert, kCert3, noLog));
    EXPECT_EQ(serialOf(cert), "33");
  }
}

TEST(X509Loading, AnEmptyBundleIsCountedInAVerboseLog) {
  VelmoraX509 cert;
  LogText log;
  log.m_verbose = true;
  EXPECT_FALSE(load(cert, der::bundle(), log));
  EXPECT_EQ(log.text().view(), "loadX509DerAlt:\n  numPkcs7Certs: 0\n  success: 0\n");
}

// Child after child has to be found in constant time for this to end.
TEST(X509Loading, ABundleOfManyMembersTakesTimeInProportion) {
  der::Bytes members;
  for (int i = 0; i < 200000; ++i) members += der::ia5("member");
  VelmoraX509 cert;
  LogNull log;
  EXPECT_TRUE(load(cert, der::bundle(members), log));
  EXPECT_EQ(certDerOf(cert).view(), der::ia5("member"));
}

std::string xmlOf(std::string_view der) {
  DataBuffer bytes;
  bytes.append(der.data(), der.size());
  StringBuffer xml;
  LogNull log;
  EXPECT_TRUE(DerXmlCodec::derToXml(bytes, false, true, xml, nullptr, log));
  return std::string(xml.view());
}

TEST(X509LoadingFromXml, EveryOutcomeLeavesTheHandleWhereItWas) {
  const std::string first = "<c>" + xmlOf(kCert1) + "</c>";
  const std::string second = "<c>" + xmlOf(kCert2) + "<x></x></c>";
  const struct {
    std::string children;
    bool result;
    std::string serials;
  } kCases[] = {
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

TEST(X509LoadingFromXml, WithoutXmlThereIsNothing) {
  ExtPtrArrayRc certs;
  LogText log;
  EXPECT_FALSE(VelmoraX509::loadX509_fromXml(nullptr, certs, log));
  EXPECT_EQ(certs.getSize(), 0);
  EXPECT_EQ(log.text().view(), "loadX509_fromXml:\n");
}

TEST(X509LoadingFromXml, NamesEachCertificateInAVerboseLog) {
  const _clsOwner xml(ClsXml::createNewCls());
  LogText log;
  ASSERT_TRUE(xml->loadXml("<certs><c>" + xmlOf(kCert1) + "</c></certs>", true, log));
  log.m_verbose = true;
  ExtPtrArrayRc certs;
  EXPECT_TRUE(VelmoraX509::loadX509_fromXml(xml.get(), certs, log));
  EXPECT_EQ(certDerOf(*static_cast<VelmoraX509*>(certs.elementAt(0))).view(), kCert1);
  EXPECT_EQ(log.text().view(),
            "loadX509_fromXml:\n"
            "  numCerts: 1\n"
            "  Loading PKCS7 (p7b) certificate...\n"
            "  dn_getDN:\n"
            "  xDn: C=US, O=Acme, CN=host\n");
}

}  // namespace
}  // namespace velmora::test
