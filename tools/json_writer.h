#pragma once

#include <cstdint>
#include <string_view>

#include "support/text/string_buffer.h"

namespace velmora::tool {

/// Appends one JSON object as one line to a text, member by member. Keys are written as they are.
class JsonLine {
 public:
  explicit JsonLine(StringBuffer& out) noexcept : m_out(out) { m_out.appendChar('{'); }

  void text(std::string_view key, std::string_view value);
  /// `decimal` is a whole number in decimal.
  void number(std::string_view key, std::string_view decimal);
  void number(std::string_view key, int64_t value);
  void boolean(std::string_view key, bool value);
  void null(std::string_view key);

  /// Closes the object and the line.
  void end() { m_out.append("}\n"); }

 private:
  void key(std::string_view name);

  StringBuffer& m_out;
  bool m_first = true;
};

}  // namespace velmora::tool
