#pragma once

// Reads AlgorithmIdentifiers, and knows which signatures they name.

#include <optional>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/certificate/result.h"
#include "velmora/certificate/signature.h"

namespace velmora {

/// An AlgorithmIdentifier (RFC 5280 §4.1.1.2) taken apart.
struct AlgorithmParts {
  Bytes oid;  // its content octets
  std::optional<Asn1Element> parameters;

  bool is(const Oid& algorithm) const noexcept;
  bool hasNull() const noexcept;
};

bool isNull(const Asn1Element& parameters) noexcept;

/// Error malformedField for what is no SEQUENCE of an OID and one element at most.
Result<AlgorithmParts> readAlgorithm(const Asn1Element& identifier) noexcept;

/// The parameters of RSASSA-PSS (RFC 4055 §3.1).
struct PssParameters {
  Hash hash = Hash::sha1;
  Hash maskHash = Hash::sha1;  // of the mask generation function MGF1
  uint32_t saltLength = 20;    // UINT32_MAX for a number that 32 bits do not hold
};

/// The hash of an OID's content octets; nothing for one that is not known.
std::optional<Hash> hashOfOid(Bytes oid) noexcept;

/// Errors malformedField for what is not of the syntax, and unknownAlgorithm for a hash, a mask
/// generation function or a trailer that is not known. A default that is encoded is read all the
/// same: who verifies has to recognise both forms (RFC 4055 §3.1).
Result<PssParameters> readPssParameters(const Asn1Element& parameters) noexcept;

/// What an AlgorithmIdentifier says about a signature: with the fault none, a scheme; else one of
/// algorithmUnknown, parametersForbidden and parametersNotUnderstood.
struct SchemeReading {
  SignatureFault fault = SignatureFault::none;
  size_t offset = 0;         // of what is at fault
  bool isMalformed = false;  // parametersNotUnderstood: they are not of their syntax
  SignatureScheme scheme = {};
  std::optional<Asn1Element> parameters = {};  // with the fault none
};
SchemeReading readScheme(const Asn1Element& identifier) noexcept;

}  // namespace velmora
