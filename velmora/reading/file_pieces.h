#pragma once

// How files and streams are read: as they come, never whole.

#include <functional>
#include <span>
#include <string>

#include "velmora/support/core/export.h"

namespace velmora {

/// Takes the next octets of a file; false when no more of it are wanted. May throw.
using TakePiece = std::function<bool(std::span<const unsigned char> piece)>;

/// Hands a file to `take`, what a pipe brings at once, until its end or until no more is wanted.
/// 0, or the error (errno) with which opening or reading failed. Throws what `take` throws and
/// std::bad_alloc.
VELMORA_API int readPieces(const std::string& path, const TakePiece& take);

/// The same of a descriptor that is open and stays so.
VELMORA_API int readPieces(int descriptor, const TakePiece& take);

}  // namespace velmora
