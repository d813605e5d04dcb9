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
  /// Counts one reference more.
  BlockRef(const BlockRef& other) noexcept;
  /// Takes the reference over; `other` is then good for nothing but to be assigned to or destroyed.
  BlockRef(BlockRef&& other) noexcept : m_block(std::exchange(other.m_block, nullptr)) {}
  /// Gives its own reference up for that of `other`.
  BlockRef& operator=(BlockRef other) noexcept {
    std::swap(m_block, other.m_block);
    return *this;
  }
  ~BlockRef();

  /// The block; undefined for one that was moved from.
  const Block& operator*() const noexcept { return *m_block; }
  /// The same, for its members.
  const Block* operator->() const noexcept { return m_block; }

  /// The DER, which lives as long as any reference to the block.
  Bytes bytes() const noexcept;

 private:
  friend class Block;
  explicit BlockRef(const Block* counted) noexcept : m_block(counted) {}

  const Block* m_block;  // null once it was moved from
};

}  // namespace velmora
