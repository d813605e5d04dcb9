#include "velmora/support/time/velmora_sys_time.h"

#include "tests/common/table_file.h"
#include "velmora/support/log/log_sinks.h"

namespace velmora {
namespace {

using test::Row;

using namespace std::string_view_literals;

std::string iso(const VelmoraSysTime& time) {
  StringBuffer text;
  EXPECT_TRUE(time.appendIso8601(text));
  return std::string(text.view());
}

VelmoraSysTime parsed(std::string_view text, bool generalized) {
  VelmoraSysTime time;
  LogNull log;
  EXPECT_TRUE(time.fromX509(text, generalized, log)) << text;
  return time;
}

TEST(VelmoraSysTime, ReadsTheTimesOfCertificates) {
  for (const Row& row : test::tableOf("dates", "GeneralizedTime, text, date, nanoseconds")) {
    const VelmoraSysTime time = parsed(row[1], row[0] == "true");
    EXPECT_EQ(iso(time), row[2]) << row[1];
    EXPECT_EQ(std::to_string(time.nanoseconds()), row[3]) << row[1];
  }
}

TEST(VelmoraSysTime, RefusesEverythingElse) {
  VelmoraSysTime time;
  ASSERT_TRUE(time.setCivil(2001, 2, 3, 4, 5, 6));
  const auto expectRefused = [&](std::string_view text, bool generalized) {
    LogText log;
    EXPECT_FALSE(time.fromX509(text, generalized, log)) << text;
    EXPECT_EQ(iso(time), "2001-02-03T04:05:06Z") << text;
    EXPECT_TRUE(log.text().beginsWith("ERROR: Invalid date/time.\ndateTime: "));
  };
  expectRefused("", false);
  for (const Row& row : test::tableOf("dates", "no UTCTime")) expectRefused(row[0], false);
  for (const Row& row : test::tableOf("dates", "no GeneralizedTime")) expectRefused(row[0], true);
  LogNull log;
  EXPECT_FALSE(time.fromX509(static_cast<const char*>(nullptr), false, log));
  EXPECT_TRUE(time.fromX509("990101120000Z\0junk", false, log)) << "a C string ends at its NUL";
}

// The first and last day of every month, beside a calendar that only counts days on.
TEST(VelmoraSysTime, EveryMonthOfTheCalendarComesBack) {
  VelmoraSysTime time;
  int64_t daysBefore = -719528;  // 0000-01-01
  for (int year = 0; year <= 9999; ++year) {
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    const int lengths[] = {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int month = 1; month <= 12; ++month) {
      const int length = lengths[month - 1];
      ASSERT_FALSE(time.setCivil(year, month, length + 1, 0, 0, 0));
      for (const int day : {1, length}) {
        ASSERT_TRUE(time.setCivil(year, month, day, 23, 59, 59));
        ASSERT_EQ(time.toUnixSeconds(), (daysBefore + day) * 86400 - 1);
        const std::string text = iso(time);
        ASSERT_EQ(std::stoi(text.substr(0, 4)), year) << text;
        ASSERT_EQ(std::stoi(text.substr(5, 2)), month) << text;
        ASSERT_EQ(text.substr(7), (day < 10 ? "-0" : "-") + std::to_string(day) + "T23:59:59Z");
      }
      daysBefore += length;
    }
  }
  EXPECT_EQ(time.toUnixSeconds(), 253402300799);
}

TEST(VelmoraSysTime, UnixSecondsAreBoundedByTheYears) {
  VelmoraSysTime time;
  EXPECT_EQ(iso(time), "0001-01-01T00:00:00Z") << "a time that was not read is long past";
  for (const int64_t outside :
       {INT64_MIN, int64_t{-62167219201}, int64_t{253402300800}, INT64_MAX}) {
    EXPECT_FALSE(time.fromUnixSeconds(outside));
  }
  EXPECT_TRUE(time.fromUnixSeconds(-1));
  EXPECT_EQ(iso(time), "1969-12-31T23:59:59Z");
  EXPECT_TRUE(time.fromUnixSeconds(-62167219200));
  EXPECT_EQ(iso(time), "0000-01-01T00:00:00Z");
  EXPECT_TRUE(time.fromUnixSeconds(253402300799));
  EXPECT_EQ(iso(time), "9999-12-31T23:59:59Z");
  EXPECT_FALSE(time.setCivil(10000, 1, 1, 0, 0, 0));
  EXPECT_FALSE(time.setCivil(-1, 12, 31, 23, 59, 59));
  EXPECT_FALSE(time.setCivil(2000, 1, 1, 0, 0, -1));
}

TEST(VelmoraSysTime, ComparesWithOrWithoutFractions) {
  const VelmoraSysTime early = parsed("20240101000000.1Z", true);
  const VelmoraSysTime late = parsed("20240101000000.2Z", true);
  const VelmoraSysTime next = parsed("20240101000001Z", true);
  EXPECT_TRUE(late.is_after_by_compare(early, false));
  EXPECT_FALSE(late.is_after_by_compare(early, true));
  EXPECT_FALSE(early.is_after_by_compare(early, false));
  EXPECT_TRUE(next.is_after_by_compare(late, true));
  VelmoraSysTime whole = late;
  EXPECT_TRUE(whole.fromUnixSeconds(1704067201));
  EXPECT_FALSE(whole.is_after_by_compare(next, false));
}

}  // namespace
}  // namespace velmora
