#include <array>
#include <atomic>
#include <chrono>
#include <map>
#include <thread>

#include "tests/common/certificate_files.h"
#include "tests/x509/all_getters.h"
#include "tests/x509/signed_certificates.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

// What a getter returns and leaves, as text|octets, where "old" stood in both: of a certificate,
// and of one that was never loaded, with what the log then says.
struct Expected {
  std::string loaded;
  std::string never;
  std::string log;
};

const std::string kNoDate = "ERROR: Failed to get X509 certificate Valid-From date/timme\n";
const std::string kNoIssuer = "ERROR: Cannot get certificate issuer value (1)\n";
const std::string kNoSubject = "ERROR: Navigation to the certificate subject failed.\n";

der::Certificate fieldsOfAll() {
  der::Certificate fields;
  fields.serial = integer("\x00\xAB\x01"s);
  fields.extensions = listOf(extension("2.5.29.14", octets("id")),
                             extension("2.5.29.35", sequence(primitive(0, "id"))),
                             extension("2.5.29.17", sequence(primitive(2, "host"))));
  return fields;
}

std::map<std::string, Expected> expectations() {
  const der::Certificate fields = fieldsOfAll();
  return {
      {"get_Version", {"true 3|old", "false |old", ""}},
      {"get_SerialNumber", {"true old00AB01|old", "false old|old", ""}},
      {"get_SubjectSerial", {"true 00AB01|old", "false |old", ""}},
      {"get_SignatureValue", {"true old|signed", "false old|", ""}},
      {"get_Signature", {"true 1.2.840.113549.1.1.11|old", "false old|old", ""}},
      {"get_SignatureAlgorithm", {"true 1.2.840.113549.1.1.12|old", "false |old", ""}},
      {"get_PublicKeyAlgorithm", {"true 1.2.840.113549.1.1.1|old", "false |old", ""}},
      {"notBefore",
       {"true old2020-01-01T00:00:00Z|old", "false old0001-01-01T00:00:00Z|old", kNoDate}},
      {"!isCertExpired", {"true old|old", "false old|old", kNoDate + kNoDate}},
      {"getDN", {"true C=US, O=Acme, CN=host|old", "false |old", "dn_getDN:\n"}},
      {"getDN_reverseOrder",
       {"true CN=Root, O=Acme, C=US|old", "false |old", "dn_getDN_reverseOrder:\n"}},
      {"getDnJson",
       {R"(true old"CN":"host","O":"Acme","C":"US"|old)", "false old|old", "getDnJson:\n"}},
      {"get_IssuerE", {"false |old", "false |old", kNoIssuer}},
      {"get_SubjectCN", {"true host|old", "false |old", kNoSubject}},
      {"issuer", {"true old|old" + fields.issuer, "false old|old", ""}},
      {"subject", {"true old|old" + fields.subject, "false old|old", ""}},
      {"getExtensionDerDataByOid", {"true old|0\x06\x82\x04host", "false old|", ""}},
      {"getExtensionTextByOid", {"true old0\x06\x82\x04host|old", "false old|old", ""}},
      {"getExtensionAsnXmlByOid",
       {"true <sequence><contextSpecific tag=\"2\" constructed=\"0\">aG9zdA==</contextSpecific>"
        "</sequence>|old",
        "false |old", ""}},
      {"getSubjectKeyIdentifier", {"true aWQ=|old", "false |old", "getSubjectKeyIdentifier:\n"}},
      {"getAuthorityKeyIdentifier",
       {"true aWQ=|old", "false |old", "getAuthorityKeyIdentifier:\n"}},
      {"getSubjectAlternativeNameXml",
       {"true <SubjectAltName><dnsName>host</dnsName></SubjectAltName>|old", "false |old",
        "getSubjectAlternativeNameXml:\n  Cert has no 2.5.29.17 extension.\n"}},
      {"getRfc822Name", {"true host|old", "false |old", "getRfc822Name:\n"}},
      {"getEmailAddress", {"true host|old", "true |old", kNoSubject}},
      {"get_PublicKey", {"true old|key", "false old|", "x509_getPublicKey:\n"}},
      {"get_PublicKeyForOCSP", {"true old|key", "false old|", "get_PublicKeyForOCSP:\n"}},
      {"get_PublicKeyXml", {"true " + xmlOf(fields.publicKey) + "|old", "false |old", ""}},
      {"getVelmoraKeyId64",
       {"false |old", "false |old", "x509GetKeyModulus:\n  x509_getPublicKey:\n"}},
      {"getSpkiFingerprint",
       {"true oldADADD54F4B930D5ED50AC321EF6879803E7591278A968B7788E451AC0AFB12B2|old",
        "false old|old", "getSpkiFingerprint:\n  ERROR: No SubjectPublicKeyInfo found in ASN.1\n"}},
      {"matchesPinSet",
       {"true old|old", "false old|old",
        "matchesPinSet:\n  getSpkiFingerprint:\n    ERROR: No SubjectPublicKeyInfo found in ASN.1\n"
        "  ERROR: No SPKI pinning match found.\n"}},
      {"getXml", {"true " + xmlOf(fields.der()) + "|old", "true <unnamed></unnamed>|old", ""}},
      {"get_Sha1Thumbprint",
       {"true "
        "old|old\xDC\x1A\x13\x2D\x14\xBD\xF2\xC2\xE3\x5D\x6C\x13\xE0\xE8\x08\xAA\xF4\xB0\x70\x2F",
        "true "
        "old|old\xDA\x39\xA3\xEE\x5E\x6B\x4B\x0D\x32\x55\xBF\xEF\x95\x60\x18\x90\xAF\xD8\x07\x09",
        ""}},
      {"get_Sha1ThumbprintX",
       {"true oldDC1A132D14BDF2C2E35D6C13E0E808AAF4B0702F|old",
        "true oldDA39A3EE5E6B4B0D3255BFEF95601890AFD80709|old", ""}},
      {"getCertDer", {"true old|old" + fields.der(), "true old|old", ""}},
  };
}

std::string answerOf(const NamedGetter& getter, VelmoraX509& cert, LogBase& log,
                     const char* before = "") {
  Answer answer;
  answer.text.appendUtf8(before);
  answer.bytes.append(before, std::string_view(before).size());
  getter.ask(cert, log, answer);
  EXPECT_FALSE(answer.failed());
  return answer.str();
}

TEST(Getters, EmptyReplaceOrAppend) {
  LoadedX509 loaded(fieldsOfAll().der());
  VelmoraX509 never;
  std::map<std::string, Expected> all = expectations();
  for (const NamedGetter& getter : kGetters) {
    const auto expected = all.extract(getter.name);
    if (!expected) continue;
    SCOPED_TRACE(getter.name);
    LogText log;
    EXPECT_EQ(answerOf(getter, never, log, "old"), expected.mapped().never);
    EXPECT_EQ(log.text().view(), expected.mapped().log);
    EXPECT_EQ(answerOf(getter, loaded, log, "old"), expected.mapped().loaded);
  }
  EXPECT_TRUE(all.empty()) << all.begin()->first;
}

std::vector<std::string> answersOf(VelmoraX509& cert) {
  std::vector<std::string> answers;
  LogNull log;
  for (const NamedGetter& getter : kGetters) answers.push_back(answerOf(getter, cert, log));
  return answers;
}

// Nothing is done with a certificate that somebody holds, and then everything at once.
TEST(Getters, WaitForTheLockAndAnswerRight) {
  const der::Bytes der = madeCertificates().front();
  LoadedX509 reference(der);
  const std::vector<std::string> expected = answersOf(reference);
  LoadedX509 shared(der);
  answersOf(shared);  // what is kept is not given out either
  std::array<std::atomic<bool>, std::size(kGetters) + 1> done{};
  std::atomic<size_t> started = 0;
  std::vector<std::thread> threads;
  {
    const CritSecExitor held(&shared);
    for (size_t i = 0; i < done.size(); ++i) {
      threads.emplace_back([&, i] {
        ++started;
        LogNull log;
        for (int n = 0; n < 50; ++n, done[i] = true) {
          EXPECT_TRUE(i < expected.size() ? answerOf(kGetters[i], shared, log) == expected[i]
                                          : load(shared, der, log));
        }
      });
    }
    while (started < threads.size()) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    for (size_t i = 0; i < done.size(); ++i) EXPECT_FALSE(done[i]) << "getter " << i;
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace velmora::test
