#include <iterator>

#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

using TextGetter = bool (VelmoraX509::*)(XString&, LogBase&);
constexpr TextGetter kTextGetters[] = {&VelmoraX509::get_Version,
                                       &VelmoraX509::get_SerialNumber,
                                       &VelmoraX509::get_SubjectSerial,
                                       &VelmoraX509::get_Signature,
                                       &VelmoraX509::get_SignatureAlgorithm,
                                       &VelmoraX509::get_PublicKeyAlgorithm};

der::Certificate version1() {
  der::Certificate fields;
  fields.version.clear();
  fields.serial = der::integer("\x00\xAB\x01"s);
  return fields;
}

// Each getter starts with "old" in its output, which shows whether it empties, appends or replaces.
TEST(X509Fields, AreReadOrMissed) {
  LoadedX509 version3(der::Certificate().der());
  LoadedX509 first(version1().der());
  VelmoraX509 empty;
  const struct {
    VelmoraX509& cert;
    bool found[6];
    const char* texts[6];
  } kCases[] = {
      {version3,
       {true, true, true, true, true, true},
       {"3", "old01", "01", "1.2.840.113549.1.1.11", "1.2.840.113549.1.1.12",
        "1.2.840.113549.1.1.1"}},
      {first,
       {false, true, true, true, true, true},
       {"", "old00AB01", "00AB01", "1.2.840.113549.1.1.11", "1.2.840.113549.1.1.12",
        "1.2.840.113549.1.1.1"}},
      {empty, {false, false, false, false, false, false}, {"", "old", "", "old", "", ""}},
  };
  for (const auto& [cert, found, texts] : kCases) {
    for (size_t i = 0; i < std::size(kTextGetters); ++i) {
      LogText log;
      XString out(std::string_view("old"));
      const TextGetter getter = kTextGetters[i];
      EXPECT_EQ((cert.*getter)(out, log), found[i]) << "getter " << i;
      EXPECT_EQ(out.view(), texts[i]) << "getter " << i;
      EXPECT_TRUE(log.text().isEmpty());
    }
  }
}

// A tree that came as XML keeps the digits as they were written there.
TEST(X509Fields, NumbersOfATreeThatCameAsXml) {
  LogNull log;
  const _clsOwner xml(ClsXml::createNewCls());
  ASSERT_TRUE(
      xml->loadXml("<certs><c><sequence><sequence><contextSpecific tag=\"0\" "
                   "constructed=\"1\"><int>99999999999999</int></contextSpecific>"
                   "<int>0a bc</int></sequence></sequence></c></certs>",
                   true, log));
  ExtPtrArrayRc certs;
  ASSERT_TRUE(VelmoraX509::loadX509_fromXml(xml.get(), certs, log));
  auto* cert = static_cast<VelmoraX509*>(certs.elementAt(0));
  EXPECT_EQ(serialOf(*cert), "0ABC");
  EXPECT_EQ(textOf([&](XString& out) { cert->get_SubjectSerial(out, log); }), "0a bc");
  EXPECT_EQ(textOf([&](XString& out) { cert->get_Version(out, log); }), "2147483648");
}

TEST(X509Fields, TheSignatureIsBytes) {
  LoadedX509 cert(der::Certificate().der());
  LogNull log;
  DataBuffer out;
  out.append("old", 3);
  EXPECT_TRUE(cert.get_SignatureValue(out, log));
  EXPECT_EQ(out.view(), "signed");
  VelmoraX509 empty;
  EXPECT_FALSE(empty.get_SignatureValue(out, log));
  EXPECT_TRUE(out.empty());
}

constexpr const char* kNoDate = "ERROR: Failed to get X509 certificate Valid-From date/timme\n";

std::string datesOf(VelmoraX509& cert, LogBase& log) {
  std::string text;
  for (const bool from : {true, false}) {
    VelmoraSysTime time;
    text += cert.get_Valid_To_or_From_UTC(from, time, log) ? "true " : "false ";
    StringBuffer iso;
    time.appendIso8601(iso);
    text += std::string(iso.view()) + (from ? ", " : "");
  }
  return text;
}

TEST(X509Validity, DatesOfEveryKind) {
  const std::string never = "0001-01-01T00:00:00Z";
  const struct {
    der::Bytes validity;
    std::string dates;
    std::string log;
    bool expired;
  } kCases[] = {
      {der::sequence(der::utcTime("200102030405Z"), der::generalizedTime("20991231235959Z")),
       "true 2020-01-02T03:04:05Z, true 2099-12-31T23:59:59Z", "", false},
      {der::sequence(der::utcTime("500101000000Z"), der::utcTime("491231235959Z")),
       "true 1950-01-01T00:00:00Z, true 2049-12-31T23:59:59Z", "", false},
      {der::sequence(der::utcTime("500101000000Z"), der::utcTime("990101000000Z")),
       "true 1950-01-01T00:00:00Z, true 1999-01-01T00:00:00Z", "", true},
      {der::sequence(der::generalizedTime("29990101000000Z"),
                     der::generalizedTime("99991231235959Z")),
       "true 2999-01-01T00:00:00Z, true 9999-12-31T23:59:59Z", "", true},
      // A text that is no date still counts as read, and as long past.
      {der::sequence(der::utcTime("200102030405Z"), der::generalizedTime("20991231235959Z\0x"s)),
       "true 2020-01-02T03:04:05Z, true " + never,
       "ERROR: Invalid date/time.\ndateTime: 20991231235959Z\\x00x\n", true},
      {der::sequence(der::null(), der::utcTime("491231235959Z")),
       "false " + never + ", true 2049-12-31T23:59:59Z",
       "ERROR: Unexpected date/time content.\ndateTimeXml: <sequence><null></null>"
       "<utctime>491231235959Z</utctime></sequence>\n",
       false},
      {der::sequence(der::utcTime("200102030405Z")), "true 2020-01-02T03:04:05Z, false " + never,
       kNoDate, true},
      {der::sequence(), "false " + never + ", false " + never, std::string(kNoDate) + kNoDate,
       true},
  };
  for (const auto& [validity, dates, text, expired] : kCases) {
    der::Certificate fields;
    fields.validity = validity;
    LoadedX509 cert(fields.der());
    LogText log;
    EXPECT_EQ(datesOf(cert, log), dates);
    EXPECT_EQ(log.text().view(), text);
    log.clear();
    EXPECT_EQ(cert.isCertExpired(log), expired);
    EXPECT_EQ(log.text().view(), text);
  }
}

TEST(X509Validity, ANeverLoadedCertificateIsExpired) {
  VelmoraX509 empty;
  LogText log;
  EXPECT_TRUE(empty.isCertExpired(log));
  EXPECT_EQ(log.text().view(), std::string(kNoDate) + kNoDate);
}

}  // namespace
}  // namespace velmora::test
