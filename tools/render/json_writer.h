#pragma once

// JSON as the command line writes it: a value a line, members in the order in which they come.

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "tools/render/octets.h"

namespace velmora::tool {

/// Appends one JSON value as one line to a text, piece by piece: an object, or of kValue the one
/// value that is written with an empty key. A member of an object is written with its key, an item
/// of a list with an empty one; keys are written as they are.
class JsonLine {
 public:
  enum class Kind { kObject, kValue };

  explicit JsonLine(StringBuffer& out, Kind kind = Kind::kObject) noexcept
      : m_out(out), m_kind(kind) {
    if (kind == Kind::kObject) m_out.appendChar('{');
  }

  void text(std::string_view key, std::string_view value);
  /// A text that needs no escapes, such as a date or an OID; or null when it is empty.
  void word(std::string_view key, std::string_view value);
  void number(std::string_view name, std::integral auto value) {
    key(name);
    m_out.appendInt(static_cast<int64_t>(value));
  }
  void boolean(std::string_view key, bool value);
  void null(std::string_view key);
  /// The text, or null when it is empty.
  void textOrNull(std::string_view key, std::string_view value);
  /// The text, which may be empty, or null when there is none.
  template <class OptionalText>
  void optionalText(std::string_view key, const OptionalText& value) {
    value ? text(key, *value) : null(key);
  }
  void base64(std::string_view key, Bytes bytes);
  /// The bytes as upper-case hexadecimal digits.
  void hex(std::string_view key, Bytes bytes);
  void optionalHex(std::string_view key, const std::optional<Bytes>& bytes) {
    bytes ? hex(key, *bytes) : null(key);
  }

  void beginObject(std::string_view key) { begin(key, '{'); }
  void endObject() { finish('}'); }
  void beginList(std::string_view key) { begin(key, '['); }
  void endList() { finish(']'); }

  /// An object of what `write()` writes.
  template <class Write>
  void object(std::string_view key, Write write) {
    beginObject(key);
    write();
    endObject();
  }
  /// A list of what `write(item)` writes of each.
  template <class Items, class Write>
  void list(std::string_view key, const Items& items, Write write) {
    beginList(key);
    for (const auto& item : items) write(item);
    endList();
  }
  /// The same, each an object of what is written of it.
  template <class Items, class Write>
  void objects(std::string_view key, const Items& items, Write write) {
    list(key, items, [&](const auto& item) { object("", [&] { write(item); }); });
  }

  /// Closes the value and the line.
  void end();

 private:
  void key(std::string_view name);
  void begin(std::string_view key, char bracket);
  void finish(char bracket);

  StringBuffer& m_out;
  Kind m_kind;
  bool m_first = true;
};

}  // namespace velmora::tool
