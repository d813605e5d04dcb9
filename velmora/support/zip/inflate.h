#pragma once

// Decompresses, within bounds.

#include <cstddef>
#include <span>

#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// How decompression ended.
enum class InflateResult {
  kOk,
  kTruncated,        // the stream goes on beyond the input
  kBadHeader,        // no zlib header, a preset dictionary, or another compression method
  kBadBlockType,     // the reserved block type 3
  kBadStoredLength,  // the two copies of a stored block's length differ
  kBadCodeLengths,   // code lengths that form no prefix code, or too many of them
  kBadSymbol,        // a code word that stands for nothing
  kBadDistance,      // a distance that reaches before the first byte, or beyond the window
  kBadChecksum,      // the Adler-32 of the output is another one
  kTrailingBytes,    // bytes after the end of the stream
  kTooLarge,         // more output than the caller allows
  kOutOfMemory,
};

/// A few words on a result, for logs.
const char* inflateResultText(InflateResult result) noexcept;

/// Decompresses a raw deflate stream (RFC 1951) and appends the output, at most `maxOutput` bytes,
/// to `out`, which the input must not lie in. Never gets memory for more than that. `used` is set
/// to the bytes of `in` that the stream took, its last one perhaps in part; what follows is left to
/// the caller. A distance beyond `window` is an error. On any result but kOk, `out` has the bytes
/// that it had (and is marked when memory ran out). Time is linear in input and output; every input
/// is safe.
InflateResult inflateRaw(std::span<const unsigned char> in, size_t maxOutput, DataBuffer& out,
                         size_t& used, size_t window = 32768) noexcept;

}  // namespace velmora
