#pragma once

#include "velmora/support/text/string_buffer.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora::tool {

/// Replaces `text` with that of the string type at the handle. False when it is no string type, or
/// one whose text would not say all: with invalid UTF-8 or UTF-16, or of a type that is read as
/// neither here.
bool readStringValue(const ClsXml& value, StringBuffer& text);

}  // namespace velmora::tool
