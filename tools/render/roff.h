#pragma once

// Manual pages in the man(7) macros of roff.

#include <string_view>

#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// Appends one page to a buffer. Texts are UTF-8 and come out as roff in ASCII, whatever is in
/// them; they are broken into lines anew, but for those of session().
class Roff {
 public:
  explicit Roff(StringBuffer& out) noexcept : m_out(out) {}

  /// The page's head: its name in section 1, what it belongs to, and the name of the section.
  void title(std::string_view name, std::string_view source, std::string_view section);
  void section(std::string_view heading);
  void subsection(std::string_view heading);
  /// How something is called: a part in bold, and one in italics behind a space when it is not
  /// empty.
  void call(std::string_view bold, std::string_view italic);
  /// The same as what the text behind it explains.
  void term(std::string_view bold, std::string_view italic);
  /// Running text.
  void text(std::string_view words);
  /// Paragraphs with an empty line between them; lines that are indented stay as they are.
  void paragraphs(std::string_view texts);
  /// Lines that stay as they are.
  void session(std::string_view lines);

 private:
  void line(std::string_view line);
  void escaped(std::string_view text);

  StringBuffer& m_out;
};

}  // namespace velmora::tool
