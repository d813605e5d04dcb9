#include "velmora/support/pem/pem_writer.h"

#include <algorithm>

#include "velmora/support/text/byte_codecs.h"

namespace velmora {

namespace {

void appendBoundary(std::string_view edge, std::string_view label, StringBuffer& out) {
  out.append("-----");
  out.append(edge);
  out.appendChar(' ');
  out.append(label);
  out.append("-----\n");
}

}  // namespace

void appendPem(std::string_view label, std::span<const unsigned char> der, StringBuffer& out) {
  constexpr size_t kOctetsInLine = 48;
  appendBoundary("BEGIN", label, out);
  while (!der.empty()) {
    const auto line = der.first(std::min(der.size(), kOctetsInLine));
    char* digits = out.extend(base64Length(line.size()));
    if (digits == nullptr) return;
    base64Encode(line.data(), line.size(), digits);
    out.appendChar('\n');
    der = der.subspan(line.size());
  }
  appendBoundary("END", label, out);
}

}  // namespace velmora
