#include "tools/render/dates.h"

#include "tools/terminal/print.h"

namespace velmora::tool {

void appendSpan(std::chrono::seconds span, StringBuffer& out) {
  using namespace std::chrono_literals;
  if (span < 1h) return print(out, "less than an hour");
  const bool inDays = span >= 24h;
  const auto count = span / (inDays ? 24h : 1h);
  print(out, count, inDays ? " day" : " hour", count == 1 ? "" : "s");
}

}  // namespace velmora::tool
