#pragma once

// Elements of DER made in a string, for who needs one or two; DerWriter writes whole trees of them.

#include <string>
#include <string_view>

#include "velmora/support/asn1/asn1_element.h"

namespace velmora {

/// Makes what `out` holds from `start` on the contents of an element with an identifier of one
/// octet (X.690 §8.1). Throws std::bad_alloc alone.
inline void enclose(uint32_t identifier, size_t start, std::string& out) {
  unsigned char header[1 + kMostLengthSize] = {static_cast<unsigned char>(identifier)};
  const unsigned char* const end = writeLength(out.size() - start, header + 1);
  out.insert(start, reinterpret_cast<const char*>(header), static_cast<size_t>(end - header));
}

/// The element with these contents.
inline std::string elementOf(uint32_t identifier, std::string_view content) {
  std::string element(content);
  enclose(identifier, 0, element);
  return element;
}

}  // namespace velmora
