#pragma once

// XML laid out for people, for every command that prints some.

#include <string_view>

#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// Appends compact XML safe to print and with each element on a line of its own. Content is not
/// touched, and white space between elements alone means nothing, so the text reads back as the
/// same document.
void appendIndentedXml(std::string_view xml, StringBuffer& out);

}  // namespace velmora::tool
