#pragma once

// Text put together from items: words, numbers, and what has to be made safe to print.

#include <concepts>
#include <cstdint>
#include <string_view>

#include "velmora/support/text/printable.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// Text of any origin, to be made safe to print.
struct Safe {
  std::string_view text;
};

inline void appendItem(std::string_view text, StringBuffer& out) {
  out.append(text);
}
inline void appendItem(const StringBuffer& text, StringBuffer& out) {
  out.append(text);
}
inline void appendItem(char c, StringBuffer& out) {
  out.appendChar(c);
}
inline void appendItem(std::integral auto number, StringBuffer& out) {
  out.appendInt(static_cast<int64_t>(number));
}
inline void appendItem(Safe safe, StringBuffer& out) {
  appendPrintable(safe.text, out);
}

/// Appends one item after the other: texts as they are, characters, whole numbers in decimal, and
/// whatever else there is an appendItem for.
template <class... Items>
void print(StringBuffer& out, const Items&... items) {
  (appendItem(items, out), ...);
}

}  // namespace velmora::tool
