#include "velmora/certificate/internal/block.h"

#include <algorithm>
#include <new>

namespace velmora {

Block* Block::allocate(Bytes der, const CertificateIndex& index) noexcept {
  static_assert(alignof(ExtensionEntry) <= alignof(Block));
  const size_t size = sizeof(Block) + index.extensionCount * sizeof(ExtensionEntry) + der.size();
  void* const memory = ::operator new(size, std::nothrow);
  if (memory == nullptr) return nullptr;
  auto* const block = new (memory) Block(der, index);
  auto* const copy = reinterpret_cast<std::byte*>(block->entries() + index.extensionCount);
  std::copy(der.begin(), der.end(), copy);
  return block;
}

void Block::release() const noexcept {
  if (m_count.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  this->~Block();
  ::operator delete(const_cast<Block*>(this));
}

BlockRef::BlockRef(const BlockRef& other) noexcept : m_block(other.m_block) {
  if (m_block != nullptr) m_block->retain();
}

BlockRef::~BlockRef() {
  if (m_block != nullptr) m_block->release();
}

Bytes BlockRef::bytes() const noexcept {
  return m_block->bytes();
}

}  // namespace velmora
