#include "tools/bulk/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

namespace velmora::tool {

namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenRewrites = 250ms;
constexpr auto kBetweenLines = 10s;
constexpr std::string_view kClearLine = "\r\x1b[K";

bool wantsToKnow(const Arguments& arguments) {
  if (arguments.has("--quiet")) return false;
  if (arguments.has("--progress")) return true;
  return ::isatty(STDERR_FILENO) == 1 && ::isatty(STDOUT_FILENO) != 1;
}

// "1,234,567"
std::string grouped(uint64_t number) {
  std::string digits = std::to_string(number);
  for (size_t place = digits.size(); place > 3;) digits.insert(place -= 3, 1, ',');
  return digits;
}

std::string spanOf(double seconds) {
  constexpr uint64_t kHour = 3600;
  const auto whole = static_cast<uint64_t>(std::llround(seconds));
  const std::string minutes = std::to_string(whole % kHour / 60) + " min";
  const std::string rest = std::to_string(whole % 60) + " s";
  return whole < 60      ? rest
         : whole < kHour ? minutes + " " + rest
                         : grouped(whole / kHour) + " h " + minutes;
}

// Whether a line on standard error can be written over.
bool canRewrite() {
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal != nullptr && std::string_view(terminal) == "dumb";
  return ::isatty(STDERR_FILENO) == 1 && !isDumb;
}

}  // namespace

Progress::Progress(const Arguments& arguments, Console& console, std::optional<uint64_t> size)
    : m_console(console), m_tells(wantsToKnow(arguments)), m_rewrites(canRewrite()), m_size(size) {}

void Progress::add(uint64_t certificates, uint64_t errors, uint64_t octets) {
  m_certificates += certificates;
  m_errors += errors;
  m_octets += octets;
  if (!m_tells) return;
  const Clock::time_point now = Clock::now();
  if (now - m_told >= (m_rewrites ? Clock::duration(kBetweenRewrites) : kBetweenLines)) tell(now);
}

double Progress::secondsUntil(Clock::time_point now) const noexcept {
  return std::max(std::chrono::duration<double>(now - m_start).count(), 1e-3);
}

void Progress::append(Clock::time_point now, StringBuffer& line) const {
  const double seconds = secondsUntil(now);
  const double rate = static_cast<double>(m_certificates + m_errors) / seconds;
  print(line, grouped(m_certificates), " certificates, ", grouped(m_errors), " errors, ",
        grouped(static_cast<uint64_t>(rate)), "/s");
}

void Progress::tell(Clock::time_point now) {
  StringBuffer line;
  if (m_rewrites) line.append(kClearLine);
  append(now, line);
  if (m_size && m_octets != 0 && m_octets <= *m_size) {
    const double left = static_cast<double>(*m_size - m_octets) / static_cast<double>(m_octets);
    print(line, ", ", m_octets * 100 / std::max<uint64_t>(*m_size, 1), " %, ",
          spanOf(left * secondsUntil(now)), " left");
  }
  if (!m_rewrites) line.appendChar('\n');
  writeAll(STDERR_FILENO, line.view());
  m_isShown = m_rewrites;
  m_told = now;
}

void Progress::clear() {
  if (m_isShown) writeAll(STDERR_FILENO, kClearLine);
  m_isShown = false;
}

void Progress::finish() {
  clear();
  if (!m_tells) return;
  const Clock::time_point now = Clock::now();
  StringBuffer line;
  append(now, line);
  m_console.error(line, ", ", spanOf(secondsUntil(now)));
}

}  // namespace velmora::tool
