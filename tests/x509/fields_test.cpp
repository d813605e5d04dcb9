#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

// A tree that came as XML has its digits in the one form that the bytes have.
TEST(X509Fields, NumbersOfATreeThatCameAsXml) {
  LoadedFromXml loaded(
      "<c><sequence><sequence><contextSpecific tag=\"0\" constructed=\"1\">"
      "<int>99999999999999</int></contextSpecific><int>0a bc</int></sequence></sequence></c>");
  VelmoraX509& cert = loaded.first();
  LogNull log;
  EXPECT_EQ(serialOf(cert), "0ABC");
  EXPECT_EQ(textOf([&](XString& out) { cert.get_SubjectSerial(out, log); }), "0ABC");
  EXPECT_EQ(textOf([&](XString& out) { cert.get_Version(out, log); }), "2147483648");
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
      {sequence(utcTime("500101000000Z"), generalizedTime("20991231235959Z")),
       "true 1950-01-01T00:00:00Z, true 2099-12-31T23:59:59Z", "", false},
      {sequence(utcTime("500101000000Z"), utcTime("990101000000Z")),
       "true 1950-01-01T00:00:00Z, true 1999-01-01T00:00:00Z", "", true},
      {sequence(generalizedTime("29990101000000Z"), generalizedTime("99991231235959Z")),
       "true 2999-01-01T00:00:00Z, true 9999-12-31T23:59:59Z", "", true},
      // A text that is no date still counts as read, and as long past.
      {sequence(utcTime("200102030405Z"), generalizedTime("20991231235959Z\0x"s)),
       "true 2020-01-02T03:04:05Z, true " + never,
       "ERROR: Invalid date/time.\ndateTime: 20991231235959Z\\x00x\n", true},
      {sequence(null(), utcTime("491231235959Z")), "false " + never + ", true 2049-12-31T23:59:59Z",
       "ERROR: Unexpected date/time content.\ndateTimeXml: <sequence><null></null>"
       "<utctime>491231235959Z</utctime></sequence>\n",
       false},
      {sequence(generalizedTime("29990101000000." + std::string(60000, '9') + "-0100"),
                generalizedTime("99991231235959Z")),
       "true 2999-01-01T01:00:00Z, true 9999-12-31T23:59:59Z", "", true},
      {sequence(utcTime("200102030405Z")), "true 2020-01-02T03:04:05Z, false " + never, noDate,
       true},
      {sequence(), "false " + never + ", false " + never, noDate + noDate, true},
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

// From the first moment of one second to the first of another, counted from the one that it is.
TEST(X509Validity, IsExactToTheSecondAndLess) {
  VelmoraSysTime now, after;
  const auto timeIn = [&](int64_t seconds, const char* fraction) {
    VelmoraSysTime time;
    StringBuffer iso;
    EXPECT_TRUE(time.fromUnixSeconds(now.toUnixSeconds() + seconds) && time.appendIso8601(iso));
    std::string text(iso.view());
    std::erase_if(text, [](char c) { return c < '0' || c > '9'; });
    return generalizedTime(text + fraction + "Z");
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
      const der::Bytes validity = sequence(timeIn(it.from, it.fraction), timeIn(it.until, ""));
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
