#pragma once

// Compresses and decompresses zlib streams.

#include <cstddef>
#include <span>

#include "velmora/support/text/data_buffer.h"
#include "velmora/support/zip/inflate.h"

namespace velmora {

/// Compresses `in` and appends a zlib stream (RFC 1950) with a window of 32 KiB to `out`, which the
/// input must not lie in. The same input always gives the same stream. Besides the output it takes
/// less than a megabyte of memory, less for small input. False when memory ran out; `out` then has
/// the bytes that it had.
bool zlibCompress(std::span<const unsigned char> in, DataBuffer& out) noexcept;

/// Decompresses a zlib stream (RFC 1950), which must be the whole of `in`, and appends the output,
/// at most `maxOutput` bytes, to `out`, which the input must not lie in. As inflateRaw otherwise.
InflateResult zlibInflate(std::span<const unsigned char> in, size_t maxOutput,
                          DataBuffer& out) noexcept;

}  // namespace velmora
