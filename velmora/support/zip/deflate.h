#pragma once

// Compresses without the frame of zlib.

#include <span>

#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// Compresses `in` and appends a raw deflate stream (RFC 1951) to `out`, as zlibCompress.
bool deflateRaw(std::span<const unsigned char> in, DataBuffer& out) noexcept;

}  // namespace velmora
