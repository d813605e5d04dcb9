#pragma once

// The counted pointer that the values of this floor are made of.

#include <cstdint>
#include <utility>

#include "velmora/certificate/bytes.h"
#include "velmora/support/core/export.h"

namespace velmora {

class Block;

/// A counted pointer to one block of memory that never changes: some DER, and for a certificate
/// where its parts stand. Eight bytes; a copy is one atomic increment, and any thread may make one.
/// Not to be used by programs: Certificate and Name are made of it.
class VELMORA_API BlockRef {
 public:
  BlockRef(const BlockRef& other) noexcept;
  BlockRef(BlockRef&& other) noexcept : m_block(std::exchange(other.m_block, nullptr)) {}
  BlockRef& operator=(BlockRef other) noexcept {
    std::swap(m_block, other.m_block);
    return *this;
  }
  ~BlockRef();

  const Block& operator*() const noexcept { return *m_block; }
  const Block* operator->() const noexcept { return m_block; }

  /// The DER, which lives as long as any reference to the block.
  Bytes bytes() const noexcept;

 private:
  friend class Block;
  explicit BlockRef(const Block* counted) noexcept : m_block(counted) {}

  const Block* m_block;  // null once it was moved from
};

}  // namespace velmora
