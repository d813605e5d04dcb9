#include "tools/reading/dates.h"

#include "tools/terminal/print.h"
#include "velmora/support/text/whole.h"
#include "velmora/support/time/velmora_sys_time.h"

namespace velmora::tool {

std::optional<std::chrono::sys_seconds> parseIsoTime(std::string_view text) {
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:ddZ";
  constexpr size_t kDateSize = 10;
  if (text.size() != kDateSize && text.size() != kForm.size()) return std::nullopt;
  StringBuffer digits;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == 'd' ? !isDigit : text[i] != kForm[i]) return std::nullopt;
    if (isDigit) digits.appendChar(text[i]);
  }
  print(digits, text.size() == kDateSize ? "000000Z" : "Z");
  LogNull log;
  VelmoraSysTime time;
  if (!time.fromX509(digits.view(), true, log)) return std::nullopt;
  return std::chrono::sys_seconds(std::chrono::seconds(time.toUnixSeconds()));
}

bool appendDate(std::chrono::sys_seconds date, StringBuffer& out) {
  VelmoraSysTime time;
  return time.fromUnixSeconds(date.time_since_epoch().count()) && time.appendIso8601(out);
}

void writeDate(std::string_view key, const Result<std::chrono::sys_seconds>& date, JsonLine& line) {
  StringBuffer text;
  const bool isDate = date && appendDate(*date, text);
  isDate ? line.word(key, whole(text).view()) : line.null(key);
}

void appendSpan(std::chrono::seconds span, StringBuffer& out) {
  using namespace std::chrono_literals;
  if (span < 1h) return print(out, "less than an hour");
  const bool inDays = span >= 24h;
  const auto count = span / (inDays ? 24h : 1h);
  print(out, count, inDays ? " day" : " hour", count == 1 ? "" : "s");
}

}  // namespace velmora::tool
