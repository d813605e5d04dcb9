#include "tools/render/json_writer.h"

#include <algorithm>

#include "tools/render/escape.h"

namespace velmora::tool {

void JsonLine::key(std::string_view name) {
  const bool hasName = !name.empty();
  const size_t size = (m_first ? 0 : 1) + (hasName ? name.size() + 3 : 0);
  char* at = size != 0 ? m_out.extend(size) : nullptr;
  if (at != nullptr && !m_first) *at++ = ',';
  m_first = false;
  if (at == nullptr || !hasName) return;
  *at++ = '"';
  at = std::copy(name.begin(), name.end(), at);
  *at++ = '"';
  *at = ':';
}

void JsonLine::begin(std::string_view name, char bracket) {
  key(name);
  m_out.appendChar(bracket);
  m_first = true;
}

void JsonLine::finish(char bracket) {
  m_out.appendChar(bracket);
  m_first = false;
}

void JsonLine::text(std::string_view name, std::string_view value) {
  key(name);
  m_out.appendChar('"');
  appendJsonText(value, m_out);
  m_out.appendChar('"');
}

void JsonLine::word(std::string_view name, std::string_view value) {
  if (value.empty()) return null(name);
  key(name);
  char* const at = m_out.extend(value.size() + 2);
  if (at == nullptr) return;
  *at = '"';
  *std::copy(value.begin(), value.end(), at + 1) = '"';
}

void JsonLine::boolean(std::string_view name, bool value) {
  key(name);
  print(m_out, value ? "true" : "false");
}

void JsonLine::null(std::string_view name) {
  key(name);
  m_out.append("null");
}

void JsonLine::textOrNull(std::string_view name, std::string_view value) {
  value.empty() ? null(name) : text(name, value);
}

void JsonLine::base64(std::string_view name, Bytes bytes) {
  key(name);
  print(m_out, '"', Base64{bytes}, '"');
}

void JsonLine::hex(std::string_view name, Bytes bytes) {
  key(name);
  print(m_out, '"', Hex{bytes}, '"');
}

void JsonLine::end() {
  if (m_kind == Kind::kObject) m_out.appendChar('}');
  m_out.appendChar('\n');
}

}  // namespace velmora::tool
