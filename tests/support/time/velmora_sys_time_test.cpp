#include "velmora/support/time/velmora_sys_time.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "velmora/support/log/log_sinks.h"

namespace velmora {
namespace {

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
  const struct {
    bool generalized;
    std::string_view text, expected;
    int nanoseconds;
  } cases[] = {
      {false, "491231235959Z", "2049-12-31T23:59:59Z", 0},
      {false, "500101000000Z", "1950-01-01T00:00:00Z", 0},
      {false, "0002292359Z", "2000-02-29T23:59:00Z", 0},
      {false, "0001010000+0130", "1999-12-31T22:30:00Z", 0},
      {false, "991231233000-0100", "2000-01-01T00:30:00Z", 0},
      {true, "00000101000000Z", "0000-01-01T00:00:00Z", 0},
      {true, "00000229000000Z", "0000-02-29T00:00:00Z", 0},
      {true, "00010101000000+0001", "0000-12-31T23:59:00Z", 0},
      {true, "00010101000000Z", "0001-01-01T00:00:00Z", 0},
      {true, "99991231235959Z", "9999-12-31T23:59:59Z", 0},
      {true, "20240229000000", "2024-02-29T00:00:00Z", 0},
      {true, "2024022912", "2024-02-29T12:00:00Z", 0},
      {true, "202402291234Z", "2024-02-29T12:34:00Z", 0},
      {true, "20240229123456.5Z", "2024-02-29T12:34:56Z", 500000000},
      {true, "20240229123456,1234567899Z", "2024-02-29T12:34:56Z", 123456789},
      {true, "2024022912.5Z", "2024-02-29T12:30:00Z", 0},
      {true, "202402291200.51-0100", "2024-02-29T13:00:30Z", 600000000},
  };
  for (const auto& c : cases) {
    const VelmoraSysTime time = parsed(c.text, c.generalized);
    EXPECT_EQ(iso(time), c.expected) << c.text;
    EXPECT_EQ(time.nanoseconds(), c.nanoseconds) << c.text;
  }
}

TEST(VelmoraSysTime, RefusesEverythingElse) {
  const std::string_view utcTimes[] = {
      // the zone is missing, or something follows it, or it is none
      "", "9901011200", "990101120000", "990101120000z", "990101120000Z ", "990101120000Z\0"sv,
      "990101120000+01", "990101120000+2400", "990101120000+0160",
      // not digits where they belong, a fraction, four digits of the year
      " 990101120000Z", "99010112000Z", "9901-1120000Z", "990101120000.5Z", "19990101120000Z",
      // out of range
      "991301120000Z", "990001120000Z", "990100120000Z", "990431120000Z", "990229120000Z",
      "990101240000Z", "990101126000Z", "990101120060Z"};
  const std::string_view generalizedTimes[] = {
      "991231120000Z", "00000001000000Z", "00010229000000Z", "19000229000000Z", "21000229000000Z",
      "20240229123456.Z", "20240229123456.5,5Z", "2024022912345Z", "20240229123456ZZ",
      "20240229123456Z+0100", "20240229123456+",
      // the offset leads before year 0 or after year 9999
      "00000101000000+0001", "99991231235900-0001", "99991231235959.9-0001"};
  VelmoraSysTime time;
  ASSERT_TRUE(time.setCivil(2001, 2, 3, 4, 5, 6));
  const auto expectRefused = [&](std::string_view text, bool generalized) {
    LogText log;
    EXPECT_FALSE(time.fromX509(text, generalized, log)) << text;
    EXPECT_EQ(iso(time), "2001-02-03T04:05:06Z") << text;
    EXPECT_TRUE(log.text().beginsWith("ERROR: Invalid date/time.\ndateTime: "));
  };
  for (const std::string_view text : utcTimes) expectRefused(text, false);
  for (const std::string_view text : generalizedTimes) expectRefused(text, true);
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
}

}  // namespace
}  // namespace velmora
