#include "velmora/certificate/date_text.h"

#include "velmora/support/text/whole.h"
#include "velmora/support/time/velmora_sys_time.h"

namespace velmora {

std::string toIso8601(std::chrono::sys_seconds date) {
  VelmoraSysTime time;
  StringBuffer text;
  if (!time.fromUnixSeconds(date.time_since_epoch().count())) return {};
  time.appendIso8601(text);
  return std::string(whole(text).view());
}

Result<std::chrono::sys_seconds> parseIso8601(std::string_view text) noexcept {
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:ddZ";
  constexpr size_t kDateSize = 10;
  int parts[] = {0, 0, 0, 0, 0, 0};
  bool isRead = text.size() == kDateSize || text.size() == kForm.size();
  for (size_t i = 0, part = 0; isRead && i < text.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    isRead = kForm[i] == 'd' ? isDigit : text[i] == kForm[i];
    if (isDigit) parts[part] = 10 * parts[part] + (text[i] - '0');
    if (kForm[i] != 'd') ++part;
  }
  VelmoraSysTime time;
  const auto& [year, month, day, hour, minute, second] = parts;
  if (!isRead || !time.setCivil(year, month, day, hour, minute, second)) {
    return Error::at(ErrorCode::malformedDate, 0);
  }
  return std::chrono::sys_seconds(std::chrono::seconds(time.toUnixSeconds()));
}

}  // namespace velmora
