#pragma once

// What is known of each extension, in one table.

#include <array>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/encoding_check.h"
#include "velmora/certificate/internal/extension_kind.h"
#include "velmora/certificate/internal/extension_reader.h"

namespace velmora {

/// Whether RFC 5280 says of an extension that it MUST, or MUST NOT, be critical.
enum class Criticality : uint8_t { either, must, mustNot };

/// One known extension.
struct KnownExtension {
  ExtensionKind kind;
  Oid id;
  Criticality criticality;
  /// Its production, called to keep what it reads and called to check it alone; null when nothing
  /// is known of its content.
  ExtensionContent (*read)(ExtensionReader& value);
  void (*check)(ExtensionReader& value);
  /// The places of its syntax that show their type to nobody else.
  std::array<ContentSpot, 2> spots = {};
};

/// Null for ExtensionKind::other.
const KnownExtension* knownExtension(ExtensionKind kind) noexcept;

}  // namespace velmora
