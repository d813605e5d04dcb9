#include "tests/common/allocation_fault.h"

#include <memory>

#include "tests/x509/x509_test.h"

// Every operation with each of its allocations failing in turn: no crash, no leak, and no result
// that passes for a right one.

namespace velmora::test {
namespace {

const der::Bytes kCert = der::Certificate().der();
constexpr const char* kSubject = "C=US, O=Acme, CN=host";

std::string_view derToLoad(bool bundle) {
  static const der::Bytes kBundle = der::bundle(kCert, kCert);
  return bundle ? kBundle : kCert;
}

TEST(X509OutOfMemory, LoadingFailsOrIsRight) {
  for (const bool bundle : {false, true}) {
    bool loaded = false;
    std::unique_ptr<VelmoraX509> cert;
    SystemCerts store;
    LogNull log;
    log.m_verbose = true;
    const size_t faults = forEachAllocationFault(
        [&] {
          cert.reset(VelmoraX509::createNewX509());
          loaded = cert != nullptr && load(*cert, derToLoad(bundle), log, &store);
        },
        [&](bool faulted) {
          EXPECT_TRUE(loaded || faulted);
          if (cert == nullptr) return;
          EXPECT_TRUE(!loaded || subjectOf(*cert) == kSubject);
          // Only a certificate that never got its tree stays useless.
          const bool reloaded = load(*cert, kCert, log);
          EXPECT_EQ(reloaded, subjectOf(*cert) == kSubject);
        });
    EXPECT_GT(faults, 4u);
  }
}

TEST(X509OutOfMemory, HoldersAreCompleteOrNull) {
  LogNull log;
  VelmoraX509Holder* holder = nullptr;
  forEachAllocationFault(
      [&] {
        holder =
            VelmoraX509Holder::createFromDer(reinterpret_cast<const unsigned char*>(kCert.data()),
                                             static_cast<unsigned int>(kCert.size()), log);
      },
      [&](bool faulted) {
        EXPECT_TRUE(holder != nullptr || faulted);
        EXPECT_TRUE(holder == nullptr || subjectOf(*holder->getX509Ptr()) == kSubject);
        VelmoraObject::deleteObject(holder);
      });
}

TEST(X509OutOfMemory, LoadingFromXmlFailsOrIsRight) {
  LogNull log;
  log.m_verbose = true;
  DataBuffer der;
  der.append(kCert.data(), kCert.size());
  StringBuffer tree;
  ASSERT_TRUE(DerXmlCodec::derToXml(der, false, true, tree, nullptr, log));
  const _clsOwner xml(ClsXml::createNewCls());
  const std::string child = "<c>" + std::string(tree.view()) + "</c>";
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

// A text that lacks something is marked, so that it compares equal to nothing.
TEST(X509OutOfMemory, TextsAreRightOrMarked) {
  der::Certificate fields;
  fields.subject = der::sequence(der::set(der::attribute("2.5.4.3", der::bmp(u"Z\u00FC, rich"))),
                                 der::set(der::attribute("2.5.4.12", der::printable("t"))));
  LoadedX509 cert(fields.der());
  const std::string whole = subjectOf(cert, 1);
  ASSERT_EQ(whole, "CN=\"Z\u00FC, rich\", 2.5.4.12=#130174");
  LogNull log;
  XString name;
  XString serial;
  bool found = false;
  forEachAllocationFault(
      [&] {
        name.clear();
        serial.clear();
        cert.getDN(true, true, name, log, 1);
        found = cert.get_SerialNumber(serial, log);
      },
      [&](bool) {
        EXPECT_TRUE(name.failed() || name.view() == whole) << name.view();
        EXPECT_TRUE(!found || serial.failed() || serial.view() == "01") << serial.view();
        EXPECT_EQ(serialOf(cert), "01") << "the handle is not back on the root";
      });
}

}  // namespace
}  // namespace velmora::test
