#pragma once

#include <string_view>

#include "support/text/string_buffer.h"

namespace velmora::tool {

/// Text from certificates and file names, made safe to print. Escaped is what could forge a line or
/// drive a terminal: C0 and C1 controls, DEL, bidirectional controls, the line and paragraph
/// separators, the byte order mark, and bytes that are not UTF-8. Each function appends.

/// For people: \xHH for one byte, \u{HHHH} for a character beyond ASCII, and \\ for a backslash, so
/// that an escape cannot be forged either.
void appendPrintable(std::string_view text, StringBuffer& out);

/// The inside of a JSON string (RFC 8259 §7): \uXXXX; U+FFFD for a byte that is not UTF-8.
void appendJsonText(std::string_view text, StringBuffer& out);

/// XML text that is well-formed already: numeric references, which read back as the characters.
void appendXmlText(std::string_view xml, StringBuffer& out);

}  // namespace velmora::tool
