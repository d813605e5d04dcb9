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
      size_t end = atSpace ? space : i;
      while (end > lineStart && line[end - 1] == ' ') --end;
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

// Folds each line, with the indent that `indentOf` gives for it.
template <class IndentOf>
void foldEach(size_t start, size_t width, const IndentOf& indentOf, StringBuffer& out) {
  if (width == 0 || out.failed()) return;
  const std::string text(out.view().substr(start));
  std::string folded;
  for (std::string_view rest = text; !rest.empty();) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    const size_t indent = indentOf(line);
    const bool hasRoom = width >= indent + kLeastRoom;
    hasRoom ? appendFolded(line, width, indent, folded) : void(folded.append(line));
    if (end != rest.size()) folded.push_back('\n');
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  out.truncate(start);
  out.append(folded);
}

}  // namespace

void foldLines(size_t start, size_t width, size_t indent, StringBuffer& out) {
  foldEach(
      start, width, [&](std::string_view) { return indent; }, out);
}

void foldHanging(size_t start, size_t width, StringBuffer& out) {
  constexpr size_t kHang = 4;
  const auto indentOf = [](std::string_view line) {
    return std::min(line.find_first_not_of(' '), line.size()) + kHang;
  };
  foldEach(start, width, indentOf, out);
}

}  // namespace velmora::tool
