#pragma once

// General names where they stand, for who looks for one among many.

#include <cstdint>

#include "velmora/certificate/bytes.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// A general name where it stands (RFC 5280 §4.2.1.6). Its bytes live as long as any copy of the
/// certificate, and hold whatever its writer put there.
struct PlacedName {
  uint8_t identifier = 0;  // its first octet: 0x82 is a dNSName, 0x87 an iPAddress
  Bytes content;           // the contents behind identifier and length
  uint32_t offset = 0;     // of the name, from the start of the certificate
};

/// Gives general names one after the other without a copy of any, for who looks for one among
/// many. A value; it allocates nothing.
class VELMORA_API GeneralNameCursor {
 public:
  /// False at the end.
  bool next(PlacedName& name) noexcept;

 private:
  friend class Certificate;
  GeneralNameCursor(Bytes names, uint32_t offset) noexcept : m_names(names), m_offset(offset) {}

  Bytes m_names;  // elements in a row, all of which are there
  uint32_t m_offset;
};

}  // namespace velmora
