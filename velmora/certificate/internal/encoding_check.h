#pragma once

// Checks the encoding of what stands inside extension values and keys.

#include <cstdint>
#include <span>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/internal/departure_list.h"

namespace velmora {

/// What the contents of an element have to be.
enum class ContentRule : uint8_t {
  none,
  boolean,
  integer,
  bitString,
  null,
  objectId,
  falseIsDefault,  // BOOLEAN DEFAULT FALSE
  zeroIsDefault,   // INTEGER DEFAULT 0
  namedBits,       // BIT STRING with a named bit list
  setOf,           // SET OF
};

/// An element of a syntax that has a rule of its own: implicit tagging hides its type, or it has a
/// default.
struct ContentSpot {
  uint32_t depth;       // how many elements stand around it, counted inside the value
  uint32_t identifier;  // the octet
  ContentRule rule;
};

/// Walks one element of BER down to its last member and adds what X.690 wants otherwise in DER.
/// What is no BER at all ends the walk and is left to whoever reads the syntax.
void checkEncoding(Bytes element, size_t offset, std::span<const ContentSpot> spots,
                   DepartureList& list);

}  // namespace velmora
