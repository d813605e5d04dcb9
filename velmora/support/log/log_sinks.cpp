#include "velmora/support/log/log_sinks.h"

#include <cstring>
#include <ostream>

#include "velmora/support/text/ascii.h"
#include "velmora/support/text/printable.h"

namespace velmora {

void LogLines::LogError(const char* message) {
  emit("ERROR: ", viewOrEmpty(message), "");
}

void LogLines::LogInfo(const char* message) {
  emit("", viewOrEmpty(message), "");
}

void LogLines::LogData(const char* key, std::string_view value) {
  emit(viewOrEmpty(key), ": ", value);
}

void LogLines::enterContext(const char* name) {
  emit(viewOrEmpty(name), ":", "");
  ++m_depth;
}

void LogLines::leaveContext() {
  if (m_depth > 0) --m_depth;
}

void LogLines::emit(std::string_view first, std::string_view second, std::string_view third) {
  StringBuffer line;
  for (int i = 0; i < m_depth; ++i) line.append("  ");
  for (const std::string_view part : {first, second, third}) appendPrintable(part, line);
  writeLine(line.view());
}

void LogText::writeLine(std::string_view line) {
  char* added = m_text.extend(line.size() + 1);  // the whole line or nothing of it
  if (added == nullptr) return;
  if (!line.empty()) std::memcpy(added, line.data(), line.size());
  added[line.size()] = '\n';
}

void LogStream::writeLine(std::string_view line) {
  try {
    m_out << line << '\n';
  } catch (...) {
    // A stream may be set to throw. A line that cannot be written must not end the operation that
    // reports it.
  }
}

}  // namespace velmora
