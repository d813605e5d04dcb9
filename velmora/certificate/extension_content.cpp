#include <algorithm>
#include <functional>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/block.h"
#include "velmora/certificate/internal/known_extensions.h"

// What any one extension says.

namespace velmora {
namespace {

const KnownExtension* findRead(Bytes id) noexcept {
  const KnownExtension* const known = knownExtension(extensionKindOf(id));
  return known != nullptr && known->read != nullptr ? known : nullptr;
}

// Whether `part` is a piece of these very octets, and not of a copy.
bool holds(Bytes whole, Bytes part) noexcept {
  constexpr std::less_equal<const std::byte*> isUpTo;
  return isUpTo(whole.data(), part.data()) &&
         isUpTo(part.data() + part.size(), whole.data() + whole.size());
}

}  // namespace

Result<ExtensionContent> Certificate::content(const Extension& extension,
                                              Strictness strictness) const& {
  const KnownExtension* const known = findRead(extension.rawId);
  if (known == nullptr) return ExtensionContent();
  const bool mayBeRead = strictness == Strictness::lenient || extension.isWellFormed;
  // Names that are read from a value share the certificate's octets, by their place in it.
  if (!extension.hasValue || !mayBeRead || !holds(m_block.bytes(), extension.value)) {
    return Error::at(ErrorCode::malformedExtension, extension.offset);
  }
  return readValue<ExtensionContent>(m_block, extension.value, strictness, known->read);
}

std::vector<Oid> Certificate::unknownCriticalExtensions() const {
  std::vector<Oid> unknown;
  for (const ExtensionEntry& entry : m_block->extensions()) {
    const Bytes id = entry.id != 0 ? contentAt(m_block.bytes(), entry.id) : Bytes();
    if (entry.critical && findRead(id) == nullptr) unknown.push_back(Oid::fromDer(id));
  }
  // Not ==, to which no two empty ones are the same.
  const auto isSame = [](const Oid& a, const Oid& b) { return (a <=> b) == 0; };
  std::sort(unknown.begin(), unknown.end());
  unknown.erase(std::unique(unknown.begin(), unknown.end(), isSame), unknown.end());
  return unknown;
}

}  // namespace velmora
