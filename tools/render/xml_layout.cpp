#include "tools/render/xml_layout.h"

#include <algorithm>

#include "tools/render/escape.h"

namespace velmora::tool {

namespace {

void appendLineStart(size_t depth, StringBuffer& out) {
  out.appendChar('\n');
  for (size_t i = 0; i < depth; ++i) out.append("  ");
}

}  // namespace

void appendIndentedXml(std::string_view xml, StringBuffer& out) {
  size_t depth = 0;
  bool isLeaf = false;  // nothing but content since the last start tag
  for (size_t at = 0; at < xml.size();) {
    const bool closes = xml.substr(at).starts_with("</");
    if (closes) --depth;
    if (at != 0 && !(closes && isLeaf)) appendLineStart(depth, out);
    if (!closes) ++depth;
    isLeaf = !closes;
    const size_t next = std::min(xml.find('<', at + 1), xml.size());
    appendXmlText(xml.substr(at, next - at), out);
    at = next;
  }
}

}  // namespace velmora::tool
