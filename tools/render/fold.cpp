#include "tools/render/fold.h"

#include <string>
#include <string_view>

namespace velmora::tool {

namespace {

constexpr size_t kLeastRoom = 20;

// Appends one line, without its end.
void appendFolded(std::string_view line, size_t width, size_t indent, std::string& out) {
  size_t column = 0;
  size_t lineStart = 0;                   // of the piece that is being filled
  size_t space = std::string_view::npos;  // the last one behind the indent
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\x1b') {
      i = std::min(line.find('m', i), line.size() - 1);
      continue;
    }
    if ((line[i] & 0xC0) == 0x80) continue;  // goes on a character
    if (column == width) {
      const bool atSpace = space != std::string_view::npos;
      const size_t end = atSpace ? space : i;
      out.append(line.substr(lineStart, end - lineStart)).append("\n").append(indent, ' ');
      lineStart = atSpace ? space + 1 : i;
      i = lineStart;
      column = indent;
      space = std::string_view::npos;
    }
    if (line[i] == ' ' && column > indent) space = i;
    ++column;
  }
  out.append(line.substr(lineStart));
}

}  // namespace

void foldLines(size_t start, size_t width, size_t indent, StringBuffer& out) {
  if (width < indent + kLeastRoom) return;
  const std::string text(out.view().substr(start));
  std::string folded;
  for (std::string_view rest = text; !rest.empty();) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    appendFolded(rest.substr(0, end), width, indent, folded);
    if (end != rest.size()) folded.push_back('\n');
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  out.truncate(start);
  out.append(folded);
}

}  // namespace velmora::tool
