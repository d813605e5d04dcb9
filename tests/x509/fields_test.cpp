#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

// A tree that came as XML has its digits in the one form that the bytes have.
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
  EXPECT_EQ(textOf([&](XString& out) { cert->get_SubjectSerial(out, log); }), "0ABC");
  EXPECT_EQ(textOf([&](XString& out) { cert->get_Version(out, log); }), "2147483648");
}

std::string datesOf(VelmoraX509& cert, LogBase& log) {
  std::string text;
  for (const bool from : {true, false}) {
    VelmoraSysTime time;
    StringBuffer iso(cert.get_Valid_To_or_From_UTC(from, time, log) ? "true " : "false ");
    time.appendIso8601(iso);
    text += std::string(iso.view()) + (from ? ", " : "");
  }
  return text;
}

TEST(X509Validity, DatesOfEveryKind) {
  const std::string never = "0001-01-01T00:00:00Z";
  const std::string noDate = "ERROR: Failed to get X509 certificate Valid-From date/timme\n";
  const struct {
    der::Bytes validity;
    std::string dates;
    std::string log;
    bool expired;
  } kCases[] = {
      {der::sequence(der::utcTime("500101000000Z"), der::generalizedTime("20991231235959Z")),
       "true 1950-01-01T00:00:00Z, true 2099-12-31T23:59:59Z", "", false},
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
      {der::sequence(der::generalizedTime("29990101000000." + std::string(60000, '9') + "-0100"),
                     der::generalizedTime("99991231235959Z")),
       "true 2999-01-01T01:00:00Z, true 9999-12-31T23:59:59Z", "", true},
      {der::sequence(der::utcTime("200102030405Z")), "true 2020-01-02T03:04:05Z, false " + never,
       noDate, true},
      {der::sequence(), "false " + never + ", false " + never, noDate + noDate, true},
  };
  for (const auto& [validity, dates, text, expired] : kCases) {
    LoadedX509 cert(withField(&der::Certificate::validity, validity));
    LogText log;
    EXPECT_EQ(datesOf(cert, log), dates);
    EXPECT_EQ(log.text().view(), text);
    EXPECT_EQ(cert.isCertExpired(log), expired);
    EXPECT_EQ(log.text().view(), text + text);
  }
}

// However long a fraction is, each of its digits is looked at.
TEST(X509Validity, FractionsOfEveryLength) {
  LogNull log;
  for (size_t digits = 1; digits < 200; ++digits) {
    std::string fraction(digits, '9');
    const auto notBefore = [&] {
      const der::Bytes time = der::generalizedTime("29990101000000." + fraction + "Z");
      LoadedX509 cert(withField(&der::Certificate::validity, der::sequence(time, time)));
      return datesOf(cert, log).substr(0, 25);
    };
    EXPECT_EQ(notBefore(), "true 2999-01-01T00:00:00Z") << digits;
    for (const size_t at : {size_t{0}, digits / 2, digits - 1}) {
      fraction[at] = 'x';
      EXPECT_EQ(notBefore(), "true 0001-01-01T00:00:00Z") << digits << " " << at;
      fraction[at] = '9';
    }
  }
}

// From the first moment of one second to the first of another, counted from the one that it is.
TEST(X509Validity, IsExactToTheSecondAndLess) {
  VelmoraSysTime now, after;
  const auto timeIn = [&](int64_t seconds, const char* fraction) {
    VelmoraSysTime time;
    StringBuffer iso;
    EXPECT_TRUE(time.fromUnixSeconds(now.toUnixSeconds() + seconds) && time.appendIso8601(iso));
    std::string text(iso.view());
    std::erase_if(text, [](char c) { return c < '0' || c > '9'; });
    return der::generalizedTime(text + fraction + "Z");
  };
  const struct {
    int64_t from;
    const char* fraction;
    int64_t until;
    bool expired;
  } kCases[] = {{-9, "", -1, true}, {-9, "", 0, true}, {-9, "", 1, false},
                {0, "", 1, false},  {1, "", 9, true},  {0, ".999999999", 9, true}};
  for (const auto& it : kCases) {
    bool expired = false;
    do {
      now.getCurrentGmt();
      const der::Bytes validity = der::sequence(timeIn(it.from, it.fraction), timeIn(it.until, ""));
      LoadedX509 cert(withField(&der::Certificate::validity, validity));
      LogNull log;
      expired = cert.isCertExpired(log);
      after.getCurrentGmt();
    } while (after.toUnixSeconds() != now.toUnixSeconds());
    EXPECT_EQ(expired, it.expired) << it.from << it.fraction << " to " << it.until;
  }
}

}  // namespace
}  // namespace velmora::test
