#pragma once

// Lines that fit a terminal.

#include <cstddef>

#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// Breaks the lines that `out` holds from `start` on where they are wider than `width` columns, at
/// the last space that fits, else within a word; what follows is indented. Columns are counted as
/// characters of UTF-8, and a colour as none. A width with little room behind the indent breaks
/// nothing.
void foldLines(size_t start, size_t width, size_t indent, StringBuffer& out);

/// The same for lines that are indented as they belong together: what follows is indented by four
/// columns more than its line.
void foldHanging(size_t start, size_t width, StringBuffer& out);

}  // namespace velmora::tool
