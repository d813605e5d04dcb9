#include "tests/common/allocation_fault.h"

#include <functional>

#include "tests/certificate/all_answers.h"
#include "tests/certificate/shown_answers.h"
#include "tests/common/signed_cases.h"
#include "velmora/certificate/date_text.h"
#include "velmora/certificate/issuer_key.h"
#include "velmora/reading/crossing.h"
#include "velmora/reading/reading.h"
#include "velmora/reading/root_files.h"
#include "velmora/reading/writing.h"

namespace velmora::test {
namespace {

TEST(Allocation, IsOneForACertificateOfAnyNumberOfExtensions) {
  std::string many;
  for (int i = 0; i < 1000; ++i) many += extension("1.2.3", octets(""));
  for (const std::string& der : {der::Certificate().der(), withExtensions(many)}) {
    Result<Certificate> result = Error();
    const size_t faults = forEachAllocationFault(
        [&] { result = Certificate::parse(der); },
        [&](bool faulted) {
          ASSERT_EQ(result.has_value(), !faulted);
          EXPECT_TRUE(!faulted || result.error().code == ErrorCode::outOfMemory);
        });
    EXPECT_EQ(faults, 1U);
  }
}

Shown show(const Reading& reading) {
  Shown shown;
  for (const Certificate& each : reading.certificates) shown << each.der();
  for (const ReadFailure& each : reading.failures) shown << each.error << each.reason;
  for (const BerOriginal& each : reading.originals) shown << each.octets;
  return shown;
}

TEST(Allocation, WithoutMemoryCertificatesAnswerRightOrNotAtAll) {
  size_t faults = 0;
  for (const std::string& der : madeCertificates()) {
    const Result<Certificate> parsed = Certificate::parse(der);
    if (!parsed) continue;
    const Certificate& c = *parsed;
    SCOPED_TRACE(c.serialHex());
    forEachAnswer(c, [&](const Oid&, const auto& get) {
      faults += expectRightOrNone([&] { return (Shown() << get()).text; });
    });
    const std::function<Shown()> questions[] = {
        [&] {
          return Shown().all(c.serialHex(), c.fingerprint(Hash::sha1), c.spkiPin(Hash::sha512));
        },
        [&] {
          return Shown().all(c.version(), c.notBefore(), c.notAfter(),
                             c.signatureScheme().has_value());
        },
        [&] { return Shown().all(c.signatureAlgorithm(), c.criticalExtensions(), c.dnsNames()); },
        [&] { return Shown() << c.unknownCriticalExtensions(); },
        [&] {
          return Shown().all(
              c.describedKey().bits,
              c.publicKey().transform([](const PublicKey& key) { return key.bits; }));
        },
        [&] { return Shown() << c.issuer().attributes(); },
        [&] { return Shown() << c.subject().rfc4514(); },
        [&] { return Shown().all(c.subject().folded(), c.subject().find(oid::commonName)); },
        [&] {
          Shown shown;
          for (const Departure& each : c.departures())
            shown << std::string(each.id()) << each.offset;
          return shown;
        },
        [&] {
          Shown shown;
          for (const Extension& each : c.listedExtensions()) shown << c.content(each);
          for (const Extension& each : c.extensions()) shown << each.value;
          return shown;
        },
        [&] { return Shown() << toIso8601(c.validity().value_or({}).notAfter); },
        [&] { return Shown() << toPem(c); },
        [&] {
          return Shown() << toP7b(std::vector{c, c});
        },
        [&] { return show(readCertificates(toPem(c) + "-----END X-----")); },
        [&] { return show(readCertificates(toP7b(std::span(&c, 1)))); },
    };
    for (const auto& each : questions) {
      faults += expectRightOrNone([&] { return each().text; });
    }
  }
  EXPECT_GT(faults, 4000U);  // C++ libraries differ in what strings hold without memory
}

TEST(Allocation, WithoutMemoryTextsAreReadAndWrittenRightOrNotAtAll) {
  const char* const text = R"(CN=a\00+O=#0C0141,1.2.3=b+UID=\C3\BC)";
  const Certificate c = parsed(der::Certificate().der());
  const Name name = *Name::parse(text), other = *Name::parse("o=A+CN=A\\00,1.2.3=B+UID=\xC3\xBC");
  const std::string ber = "\x30\x80" + charactersOf(c.der()).substr(3) + std::string(2, '\0');
  const RefOwner<VelmoraX509> object = objectOf(c);
  LogNull log;
  const Certificate onCurve = parsed(SignedCases().issuerDers.at("P-256"));
  SystemCerts store;
  DataBuffer der;
  object->getCertDer(der);
  ASSERT_TRUE(store.addCertDer(der, log));
  XString tree;
  ASSERT_TRUE(object->getXml(tree, log));
  const std::string xml(tree.view()), data = VELMORA_SOURCE_DIR "/tests/data/reader/";
  std::string utf16 = "\xFF\xFE";
  for (const char each : toPem(c)) utf16 += {each, '\0'};
  const std::function<Shown()> questions[] = {
      [&] {
        return Shown() << Name::parse(text).transform([](const Name& it) { return hex(it.der()); });
      },
      [&] {
        return Shown() << certificateFromBer(std::as_bytes(std::span(ber)))
                              .transform([](const Certificate& it) { return it.der().size(); });
      },
      [&] { return show(readCertificates(ber)); },
      [&] { return show(readCertificates(utf16)); },
      [&] { return show(readCertificates(xml + "<certs><c>" + xml + "</c><c><d/></c></certs>")); },
      [&] { return show(readCertificateFile(data + "three.pem")); },
      [&] { return show(readCertificateFile(data + "three_ber.p7b")); },
      [&] { return show(readCertificateFile(data + "absent")); },
      [&] {
        ExtPtrArray out;
        const bool isRead = readCertificates(xml + "\n" + ber, out, log);
        return Shown() << (isRead ? std::to_string(out.getSize()) : kNoMemory);
      },
      [&] { return show(certificatesOf(store)); },
      [&] {
        std::vector<std::string> files;
        const std::error_code error = listRootFiles(data, files);
        return Shown() << (error ? kNoMemory : std::to_string(files.size()));
      },
      [&] { return Shown() << (IssuerKey(onCurve).prepare() ? "prepared" : kNoMemory); },
      [&] { return Shown() << (certificateOf(*object) ? "there" : kNoMemory); },
      [&] { return Shown() << (objectOf(c) ? "there" : kNoMemory); },
      [&] { return Shown() << (name.matches(other) ? "same" : kNoMemory); },
      [&] { return Shown() << Oid::parse("1.2.3"); },
      [&] { return Shown() << parseIso8601("2020-01-01T00:00:00Z"); },
  };
  for (const auto& each : questions) expectRightOrNone([&] { return each().text; });
}

TEST(Allocation, WithoutMemoryNoSignatureIsGood) {
  size_t faults = 0;
  for (const std::string& der : madeCertificates()) {
    const Result<Certificate> certificate = Certificate::parse(der);
    if (!certificate || certificate->signedBy(*certificate) != SignatureVerdict::good) continue;
    const IssuerKey key(*certificate);
    SignatureCheck check;
    const std::function<SignatureCheck()> checks[] = {
        [&] { return key.check(*certificate); },
        [&] { return IssuerKey(*certificate).check(*certificate); },
        [&] { return certificate->checkSignature(*certificate); },
    };
    for (const auto& each : checks) {
      faults += forEachAllocationFault(
          [&] { check = each(); },
          [&](bool faulted) {
            EXPECT_EQ(check.fault, faulted ? SignatureFault::outOfMemory : SignatureFault::none);
            EXPECT_EQ(check.verdict, verdictOf(check.fault));
          });
    }
  }
  EXPECT_GT(faults, 0U);
}

}  // namespace
}  // namespace velmora::test
