#include "tools/json_writer.h"

#include "tools/escape.h"

namespace velmora::tool {

void JsonLine::key(std::string_view name) {
  m_out.append(m_first ? "\"" : ",\"");
  m_first = false;
  m_out.append(name);
  m_out.append("\":");
}

void JsonLine::text(std::string_view name, std::string_view value) {
  key(name);
  m_out.appendChar('"');
  appendJsonText(value, m_out);
  m_out.appendChar('"');
}

void JsonLine::number(std::string_view name, std::string_view decimal) {
  key(name);
  m_out.append(decimal);
}

void JsonLine::number(std::string_view name, int64_t value) {
  key(name);
  m_out.appendInt(value);
}

void JsonLine::boolean(std::string_view name, bool value) {
  key(name);
  m_out.append(value ? "true" : "false");
}

void JsonLine::null(std::string_view name) {
  key(name);
  m_out.append("null");
}

}  // namespace velmora::tool
