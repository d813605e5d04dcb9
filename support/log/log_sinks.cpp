#include "support/log/log_sinks.h"

#include <cstring>
#include <ostream>

#include "support/text/ascii.h"
#include "support/text/byte_codecs.h"

namespace velmora {
namespace {

constexpr bool isControl(char c) noexcept {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

void appendEscapedCharacter(char c, StringBuffer& line) noexcept {
  if (c == '\\') {
    line.append("\\\\");
    return;
  }
  const auto byte = static_cast<unsigned char>(c);
  char escape[4] = {'\\', 'x', 0, 0};
  hexEncodeUpper(&byte, 1, escape + 2);
  line.appendN(escape, sizeof escape);
}

void appendEscaped(std::string_view text, StringBuffer& line) noexcept {
  size_t plainFrom = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (!isControl(text[i]) && text[i] != '\\') continue;
    line.append(text.substr(plainFrom, i - plainFrom));
    appendEscapedCharacter(text[i], line);
    plainFrom = i + 1;
  }
  line.append(text.substr(plainFrom));
}

}  // namespace

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
  for (const std::string_view part : {first, second, third}) appendEscaped(part, line);
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
