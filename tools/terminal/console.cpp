#include "tools/terminal/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tools/terminal/options.h"

namespace velmora::tool {

namespace {

// A line on standard error, or what takes no memory.
void tell(const StringBuffer& line) {
  writeAll(STDERR_FILENO, line.failed() ? "velmora-x509: out of memory\n" : line.view());
}

constexpr size_t kRecordBuffer = size_t{64} << 10;

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

bool takesColours() {
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal != nullptr && std::strcmp(terminal, "dumb") == 0;
  return ::isatty(STDOUT_FILENO) == 1 && !isSet("NO_COLOR") && !isDumb;
}

size_t columns() {
  constexpr size_t kUsual = 80;
  winsize size = {};
  if (::isatty(STDOUT_FILENO) != 1) return 0;
  const bool isKnown = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
  return isKnown ? size.ws_col : kUsual;
}

}  // namespace

int writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<size_t>(written));
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

Console::Console() : m_coloured(takesColours()), m_width(columns()) {}

void Console::endRecord() {
  if (out().getSize() >= kRecordBuffer) flush();
}

bool Console::flush() {
  const bool outOfMemory = out().failed();
  write();
  if (outOfMemory) outputFailed("out of memory");
  return !m_outputFailed;
}

void Console::takeBack(size_t size) {
  out().truncate(std::min(size, out().getSize()));
  write();
}

void Console::write() {
  const int failure = m_outputFailed ? 0 : writeAll(STDOUT_FILENO, out().view());
  out().weakClear();
  if (failure != 0) outputFailed(failure == EPIPE ? nullptr : std::strerror(failure));
}

// Tells of the first failure, unless it has no reason: a reader that went away knows.
void Console::outputFailed(const char* reason) {
  const bool isFirst = !m_outputFailed;
  m_outputFailed = true;
  raise(ExitStatus::kUnreadable);
  if (!isFirst || reason == nullptr) return;
  StringBuffer line;
  print(line, "velmora-x509: standard output: ", reason, '\n');
  tell(line);
}

void Console::complain(std::string_view what, std::string_view reason) {
  error(Safe{what}, ": ", Safe{reason});
  raise(ExitStatus::kUnreadable);
}

void Console::wantBinary() const {
  if (::isatty(STDOUT_FILENO) != 0) throw UsageError("binary output is not written to a terminal");
}

void Console::writeError(const StringBuffer& line) {
  flush();
  if (line.failed()) raise(ExitStatus::kUnreadable);
  tell(line);
}

}  // namespace velmora::tool
