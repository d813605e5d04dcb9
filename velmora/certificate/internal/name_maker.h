#pragma once

// Lets the readers of a block make the Name values that share it.

#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/name.h"

namespace velmora {

/// Makes the names of a block.
struct NameMaker {
  /// Of the element at `offset`.
  static Name make(const BlockRef& block, size_t offset) noexcept {
    return Name(block, static_cast<uint32_t>(offset),
                static_cast<uint32_t>(elementAt(block.bytes(), offset).size()));
  }
};

}  // namespace velmora
