#pragma once

// What keeps hostile text from forging a line or driving a terminal.

#include <string_view>

#include "velmora/support/text/printable.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// Text from certificates and file names, made safe to print. Escaped is what could forge a line or
/// drive a terminal: C0 and C1 controls, DEL, bidirectional controls, the line and paragraph
/// separators, the byte order mark, and bytes that are not UTF-8. Each function appends. For people
/// there is also appendPrintable (support/text/printable.h).

/// Text for people, as one of several items of a line: as appendPrintable and, unless it is of
/// visible ASCII characters alone, between quotation marks, its own as \x22. Thus no item can pass
/// for several.
void appendPrintableItem(std::string_view text, StringBuffer& out);

/// The inside of a JSON string (RFC 8259 §7): \uXXXX; U+FFFD for a byte that is not UTF-8.
void appendJsonText(std::string_view text, StringBuffer& out);

/// JSON text that is well-formed already: \uXXXX within its strings, which reads back as the same.
void appendJsonDocument(std::string_view json, StringBuffer& out);

/// XML text that is well-formed already: numeric references, which read back as the characters.
void appendXmlText(std::string_view xml, StringBuffer& out);

/// Appends compact XML safe to print and with each element on a line of its own. Content is not
/// touched, and white space between elements alone means nothing, so the text reads back as the
/// same document.
void appendIndentedXml(std::string_view xml, StringBuffer& out);

}  // namespace velmora::tool
