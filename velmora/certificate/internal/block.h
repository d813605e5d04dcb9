#pragma once

// The one block of memory behind a certificate or a parsed name.

#include <atomic>
#include <cstdint>
#include <span>

#include "velmora/certificate/block_ref.h"
#include "velmora/certificate/bytes.h"
#include "velmora/certificate/internal/extension_kind.h"
#include "velmora/certificate/result.h"
#include "velmora/support/asn1/der_reader.h"

namespace velmora {

/// Where the elements of a certificate start: offsets of their identifiers from the start of the
/// DER, 0 for what is absent. Their sizes stand in the DER, which parsing has checked.
struct CertificateIndex {
  uint32_t tbs = 0;
  uint32_t version = 0;  // the [0]
  uint32_t serial = 0;
  uint32_t innerAlgorithm = 0;
  uint32_t issuer = 0;
  uint32_t validity = 0;
  uint32_t subject = 0;
  uint32_t spki = 0;
  uint32_t issuerUniqueId = 0;   // the [1]
  uint32_t subjectUniqueId = 0;  // the [2]
  uint32_t extensions = 0;       // the [3]
  uint32_t outerAlgorithm = 0;
  uint32_t signature = 0;
  uint32_t extensionCount = 0;
  uint32_t extensionFault = 0;  // the first place where the list of extensions is no such list
  uint32_t extensionKinds = 0;  // a bit for each kind that is in it
};

/// One member of the list of extensions, whatever it is.
struct ExtensionEntry {
  uint32_t at;        // of the member
  uint32_t id;        // of its first member, when that is an OID; else 0
  uint32_t value;     // of its first OCTET STRING; else 0
  uint8_t idSize;     // of the OID's contents; 0 for more than Oid::kMaxSize
  bool critical;      // a BOOLEAN in it is not 00
  bool isWellFormed;  // it is an Extension to the letter, but for the octet of the BOOLEAN
  ExtensionKind kind;
};

/// Some DER and, for a certificate, its index, in one allocation; counted, and never changed.
class Block {
 public:
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  /// Copies the DER; outOfMemory.
  static Result<BlockRef> create(Bytes der) noexcept {
    return create(der, {}, [](CertificateIndex&, ExtensionEntry*) {});
  }

  /// The same with an index, and with as many entries as that counts: `complete(index, entries)`
  /// writes them all, into memory that is not initialised, and may change the index but for the
  /// count.
  template <class Complete>
  static Result<BlockRef> create(Bytes der, const CertificateIndex& index,
                                 Complete complete) noexcept {
    Block* const block = allocate(der, index);
    if (block == nullptr) return Error{ErrorCode::outOfMemory};
    complete(block->m_index, block->entries());
    return BlockRef(block);
  }

  Bytes bytes() const noexcept {
    return {reinterpret_cast<const std::byte*>(entries() + m_index.extensionCount), m_size};
  }
  const CertificateIndex& index() const noexcept { return m_index; }
  std::span<const ExtensionEntry> extensions() const noexcept {
    return {entries(), m_index.extensionCount};
  }

  void retain() const noexcept { m_count.fetch_add(1, std::memory_order_relaxed); }
  void release() const noexcept;

 private:
  Block(Bytes der, const CertificateIndex& index) noexcept
      : m_size(static_cast<uint32_t>(der.size())), m_index(index) {}

  static Block* allocate(Bytes der, const CertificateIndex& index) noexcept;

  ExtensionEntry* entries() noexcept { return reinterpret_cast<ExtensionEntry*>(this + 1); }
  const ExtensionEntry* entries() const noexcept {
    return reinterpret_cast<const ExtensionEntry*>(this + 1);
  }

  mutable std::atomic<uint32_t> m_count{1};
  uint32_t m_size;
  CertificateIndex m_index;
};

/// The one extension of a list that is `isWanted(entry)`. Errors absent; repeatedExtension; and
/// malformedExtension, for one that is not well-formed, and where none is found in a list that is
/// none.
template <class IsWanted>
Result<const ExtensionEntry*> findExtension(const Block& block, IsWanted isWanted) noexcept {
  const ExtensionEntry* found = nullptr;
  for (const ExtensionEntry& entry : block.extensions()) {
    if (!isWanted(entry)) continue;
    if (found != nullptr) return Error::at(ErrorCode::repeatedExtension, entry.at);
    found = &entry;
  }
  if (found != nullptr && found->isWellFormed) return found;
  const size_t fault = found != nullptr ? found->at : block.index().extensionFault;
  if (fault != 0) return Error::at(ErrorCode::malformedExtension, fault);
  return Error{ErrorCode::absent};
}
inline Result<const ExtensionEntry*> findExtension(const Block& block,
                                                   ExtensionKind kind) noexcept {
  // Most kinds are in no list.
  const CertificateIndex& index = block.index();
  const bool isThere = (index.extensionKinds & bitOf(kind)) != 0;
  if (!isThere && index.extensionFault == 0) return Error{ErrorCode::absent};
  return findExtension(block, [&](const ExtensionEntry& entry) { return entry.kind == kind; });
}

/// The element at `offset` of some DER that was checked: all of it, or its contents.
inline Bytes elementAt(Bytes der, size_t offset) noexcept {
  Asn1Element element;
  DerReader(der.subspan(offset), offset).takeAny(element);
  return element.whole;
}
inline Bytes contentAt(Bytes der, size_t offset) noexcept {
  Asn1Element element;
  DerReader(der.subspan(offset), offset).takeAny(element);
  return element.content;
}

}  // namespace velmora
