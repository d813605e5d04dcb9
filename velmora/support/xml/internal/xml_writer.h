#pragma once

// Writes a document as XML text.

#include "velmora/support/text/string_buffer.h"
#include "velmora/support/xml/xml_document.h"

namespace velmora {

/// Appends the XML text of the subtree at `top` to `out`: no white space between elements, an empty
/// element as a pair of tags, attributes in their order and in double quotes. "&", "<", ">" and the
/// double quote are written as entities, control characters as numeric references, so that the text
/// reads back as the same document. False when memory ran out. Internal to the XML floor.
bool writeXml(const XmlDocument& document, XmlIndex top, StringBuffer& out) noexcept;

}  // namespace velmora
