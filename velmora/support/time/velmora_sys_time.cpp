#include "velmora/support/time/velmora_sys_time.h"

#include <chrono>

#include "velmora/support/text/ascii.h"
#include "velmora/support/time/internal/civil_date.h"

namespace velmora {
namespace {

constexpr int64_t kFirstSecond = -62167219200;  // 0000-01-01T00:00:00Z
constexpr int64_t kLastSecond = 253402300799;   // 9999-12-31T23:59:59Z
constexpr int64_t kNanosecondsInSecond = 1000000000;

constexpr bool isInRange(int64_t seconds) noexcept {
  return seconds >= kFirstSecond && seconds <= kLastSecond;
}

constexpr bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

struct CivilTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

bool isValid(const CivilTime& t) noexcept {
  return t.year >= 0 && t.year <= 9999 && t.month >= 1 && t.month <= 12 && t.day >= 1 &&
         t.day <= daysInMonth(t.year, t.month) && t.hour >= 0 && t.hour <= 23 && t.minute >= 0 &&
         t.minute <= 59 && t.second >= 0 && t.second <= 59;
}

int64_t secondsOf(const CivilTime& t) noexcept {
  return daysFromCivil({t.year, t.month, t.day}) * kSecondsInDay + t.hour * 3600 + t.minute * 60 +
         t.second;
}

struct Moment {
  int64_t seconds = 0;
  uint32_t nanoseconds = 0;
};

// Reads the time texts of certificates. Each step takes its part off the front of the text and is
// false when the part does not stand there.
class TimeText {
 public:
  explicit TimeText(std::string_view text) noexcept : m_left(text) {}

  // UTCTime: YYMMDDhhmm[ss](Z|+hhmm|-hhmm)
  bool readUtcTime(Moment& moment) noexcept {
    CivilTime t;
    if (!readNumber(2, t.year)) return false;
    t.year += t.year >= 50 ? 1900 : 2000;  // RFC 5280 §4.1.2.5.1
    if (!readMonthToHour(t) || !readNumber(2, t.minute)) return false;
    if (nextIsDigit() && !readNumber(2, t.second)) return false;
    return !m_left.empty() && finish(t, 0, moment);
  }

  // GeneralizedTime: YYYYMMDDhh[mm[ss]][(.|,)digits][Z|+hhmm|-hhmm]
  bool readGeneralizedTime(Moment& moment) noexcept {
    CivilTime t;
    if (!readNumber(4, t.year) || !readMonthToHour(t)) return false;
    int64_t unit = 3600;  // a fraction is one of the last part that is written (X.680 §46.2)
    if (nextIsDigit()) {
      if (!readNumber(2, t.minute)) return false;
      unit = 60;
    }
    if (unit == 60 && nextIsDigit()) {
      if (!readNumber(2, t.second)) return false;
      unit = 1;
    }
    int64_t billionths = 0;
    return readFraction(billionths) && finish(t, billionths * unit, moment);
  }

 private:
  bool nextIsDigit() const noexcept { return !m_left.empty() && isDigit(m_left.front()); }

  bool skip(char c) noexcept {
    if (!m_left.starts_with(c)) return false;
    m_left.remove_prefix(1);
    return true;
  }

  bool readNumber(int digits, int& number) noexcept {
    number = 0;
    for (; digits > 0; --digits) {
      if (!nextIsDigit()) return false;
      number = number * 10 + (m_left.front() - '0');
      m_left.remove_prefix(1);
    }
    return true;
  }

  bool readMonthToHour(CivilTime& t) noexcept {
    return readNumber(2, t.month) && readNumber(2, t.day) && readNumber(2, t.hour);
  }

  // A fraction in billionths, 0 when there is none; a point without a digit after it is refused.
  bool readFraction(int64_t& billionths) noexcept {
    if (!skip('.') && !skip(',')) return true;
    if (!nextIsDigit()) return false;
    for (int64_t place = kNanosecondsInSecond / 10; nextIsDigit(); place /= 10) {
      billionths += place * (m_left.front() - '0');
      m_left.remove_prefix(1);
    }
    return true;
  }

  // How far the local time of the text is ahead of UTC; nothing written counts as UTC.
  bool readOffset(int& seconds) noexcept {
    seconds = 0;
    if (m_left.empty() || skip('Z')) return true;
    const bool behind = m_left.starts_with('-');
    if (!skip('+') && !skip('-')) return false;
    int hours = 0;
    int minutes = 0;
    if (!readNumber(2, hours) || !readNumber(2, minutes) || hours > 23 || minutes > 59) {
      return false;
    }
    seconds = (hours * 60 + minutes) * (behind ? -60 : 60);
    return true;
  }

  bool finish(const CivilTime& t, int64_t nanoseconds, Moment& moment) noexcept {
    int offset = 0;
    if (!readOffset(offset) || !m_left.empty() || !isValid(t)) return false;
    moment.seconds = secondsOf(t) + nanoseconds / kNanosecondsInSecond - offset;
    moment.nanoseconds = static_cast<uint32_t>(nanoseconds % kNanosecondsInSecond);
    return isInRange(moment.seconds);
  }

  std::string_view m_left;
};

void writeNumber(int number, int digits, char* out) noexcept {
  for (; digits > 0; --digits, number /= 10) out[digits - 1] = static_cast<char>('0' + number % 10);
}

}  // namespace

bool VelmoraSysTime::fromX509(const char* text, bool generalized, LogBase& log) {
  return fromX509(viewOrEmpty(text), generalized, log);
}

bool VelmoraSysTime::fromX509(std::string_view text, bool generalized, LogBase& log) {
  TimeText reader(text);
  Moment moment;
  if (!(generalized ? reader.readGeneralizedTime(moment) : reader.readUtcTime(moment))) {
    log.LogError("Invalid date/time.");
    log.LogData("dateTime", text);
    return false;
  }
  m_seconds = moment.seconds;
  m_nanoseconds = moment.nanoseconds;
  return true;
}

bool VelmoraSysTime::setCivil(int year, int month, int day, int hour, int minute,
                              int second) noexcept {
  const CivilTime t{year, month, day, hour, minute, second};
  if (!isValid(t)) return false;
  m_seconds = secondsOf(t);
  m_nanoseconds = 0;
  return true;
}

void VelmoraSysTime::getCurrentGmt() noexcept {
  using std::chrono::nanoseconds;
  using std::chrono::seconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto whole = std::chrono::floor<seconds>(now);
  m_seconds = whole.count();
  m_nanoseconds =
      static_cast<uint32_t>(std::chrono::duration_cast<nanoseconds>(now - whole).count());
}

bool VelmoraSysTime::is_after_by_compare(const VelmoraSysTime& other,
                                         bool wholeSeconds) const noexcept {
  if (m_seconds != other.m_seconds) return m_seconds > other.m_seconds;
  return !wholeSeconds && m_nanoseconds > other.m_nanoseconds;
}

bool VelmoraSysTime::fromUnixSeconds(int64_t seconds) noexcept {
  if (!isInRange(seconds)) return false;
  m_seconds = seconds;
  m_nanoseconds = 0;
  return true;
}

bool VelmoraSysTime::appendIso8601(StringBuffer& out) const noexcept {
  // Counted from the first second on, so that the divisions round down.
  const int64_t sinceFirst = m_seconds - kFirstSecond;
  const CivilDate date = civilFromDays(sinceFirst / kSecondsInDay + kFirstSecond / kSecondsInDay);
  const int secondOfDay = static_cast<int>(sinceFirst % kSecondsInDay);
  char text[] = "YYYY-MM-DDThh:mm:ssZ";
  writeNumber(date.year, 4, text);
  writeNumber(date.month, 2, text + 5);
  writeNumber(date.day, 2, text + 8);
  writeNumber(secondOfDay / 3600, 2, text + 11);
  writeNumber(secondOfDay / 60 % 60, 2, text + 14);
  writeNumber(secondOfDay % 60, 2, text + 17);
  return out.appendN(text, sizeof text - 1);
}

}  // namespace velmora
