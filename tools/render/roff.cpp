#include "tools/render/roff.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "tools/terminal/print.h"
#include "velmora/support/text/unicode.h"

namespace velmora::tool {

namespace {

// What has a meaning in roff, or would be typeset as something else.
constexpr std::pair<char32_t, std::string_view> kSpecial[] = {
    {'\\', "\\[rs]"}, {'-', "\\-"},    {'"', "\\[dq]"}, {'\'', "\\[aq]"},
    {'`', "\\[ga]"},  {'^', "\\[ha]"}, {'~', "\\[ti]"},
};

// A character as it is in ASCII, any other as "\[u00FC]".
void appendCharacter(char32_t c, StringBuffer& out) {
  if (c < 0x80) {
    out.appendChar(static_cast<char>(c));
    return;
  }
  char digits[8];
  const auto end = std::to_chars(digits, std::end(digits), static_cast<uint32_t>(c), 16).ptr;
  out.append("\\[u");
  for (auto missing = digits + 4 - end; missing > 0; --missing) out.appendChar('0');
  for (const char* digit = digits; digit != end; ++digit) {
    out.appendChar(*digit >= 'a' ? static_cast<char>(*digit - 'a' + 'A') : *digit);
  }
  out.appendChar(']');
}

// The first of the lines of a text, which is taken away with its newline.
std::string_view takeLine(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(text.size(), line.size() + 1));
  return line;
}

}  // namespace

// Text inside a line. Minus signs are options more often than hyphens, and must be found as they
// are typed.
void Roff::escaped(std::string_view text) {
  auto at = reinterpret_cast<const unsigned char*>(text.data());
  for (const auto end = at + text.size(); at < end;) {
    const char32_t c = readUtf8(at, end);
    const auto special = std::find_if(std::begin(kSpecial), std::end(kSpecial),
                                      [&](const auto& each) { return each.first == c; });
    special != std::end(kSpecial) ? print(m_out, special->second) : appendCharacter(c, m_out);
  }
}

// A line of text, which is no request of roff whatever it starts with.
void Roff::line(std::string_view line) {
  if (line.starts_with('.')) m_out.append("\\&");
  escaped(line);
  m_out.appendChar('\n');
}

void Roff::title(std::string_view name, std::string_view source, std::string_view section) {
  print(m_out, ".TH ");
  escaped(name);
  print(m_out, " 1 \"\" \"");
  escaped(source);
  print(m_out, "\" \"", section, "\"\n.nh\n.ad l\n");
}

void Roff::section(std::string_view heading) {
  print(m_out, ".SH ", heading, '\n');
}

void Roff::subsection(std::string_view heading) {
  print(m_out, ".SS ", heading, '\n');
}

void Roff::call(std::string_view bold, std::string_view italic) {
  print(m_out, "\\fB");
  escaped(bold);
  print(m_out, "\\fR");
  if (!italic.empty()) {
    print(m_out, " \\fI");
    escaped(italic);
    print(m_out, "\\fR");
  }
  m_out.appendChar('\n');
}

void Roff::term(std::string_view bold, std::string_view italic) {
  print(m_out, ".TP\n");
  call(bold, italic);
}

void Roff::text(std::string_view words) {
  while (!words.empty()) line(takeLine(words));
}

void Roff::paragraphs(std::string_view texts) {
  while (!texts.empty()) {
    while (texts.starts_with('\n')) texts.remove_prefix(1);
    const size_t size = std::min(texts.find("\n\n"), texts.size());
    const std::string_view paragraph = texts.substr(0, size);
    if (paragraph.starts_with(' ')) {
      session(paragraph);
    } else if (!paragraph.empty()) {
      print(m_out, ".PP\n");
      text(paragraph);
    }
    texts.remove_prefix(size);
  }
}

void Roff::session(std::string_view lines) {
  print(m_out, ".PP\n.in +4n\n.EX\n");
  text(lines);
  print(m_out, ".EE\n.in\n");
}

}  // namespace velmora::tool
