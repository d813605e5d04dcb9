#include "velmora/certificate/signature.h"

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/internal/algorithm_reader.h"
#include "velmora/certificate/internal/block.h"
#include "velmora/support/core/out_of_memory.h"

namespace velmora {

std::string_view hashName(Hash hash) noexcept {
  switch (hash) {
    case Hash::sha1:
      return "SHA-1";
    case Hash::sha256:
      return "SHA-256";
    case Hash::sha384:
      return "SHA-384";
    case Hash::sha512:
      break;
  }
  return "SHA-512";
}

std::string_view SignatureCheck::message() const noexcept {
  switch (fault) {
    case SignatureFault::none:
      break;
    case SignatureFault::outOfMemory:
      return kMemoryRanOut;
    case SignatureFault::algorithmsDiffer:
      return "The certificate names two different signature algorithms, inside and behind what is "
             "signed.";
    case SignatureFault::algorithmUnknown:
      return "The signature algorithm cannot be checked.";
    case SignatureFault::parametersNotUnderstood:
      return "The parameters of RSASSA-PSS are not understood.";
    case SignatureFault::parametersForbidden:
      return "The signature algorithm has parameters that it must not have.";
    case SignatureFault::keyDoesNotFit:
      return "The issuer's key is not one for the signature algorithm and its parameters.";
    case SignatureFault::keyUnusable:
      return "Nothing can be checked with the issuer's key.";
    case SignatureFault::signatureMalformed:
      return "The signature has not the form that its algorithm gives it.";
    case SignatureFault::wrongSignature:
      return "The signature is not that of the issuer's key.";
    case SignatureFault::otherHash:
      return "The signature names another hash than its algorithm.";
    case SignatureFault::shortDigest:
      return "The digest in the signature lacks its leading zeros.";
    case SignatureFault::otherMaskHash:
      return "The signature is masked with another hash than its algorithm says.";
    case SignatureFault::otherSaltLength:
      return "The signature has a salt of another length than its algorithm says.";
  }
  return {};
}

namespace {

Result<SignatureScheme> schemeAt(DerReader reader) noexcept {
  Asn1Element identifier;
  if (!reader.takeAny(identifier)) return Error::at(ErrorCode::malformedField, reader.offset());
  const SchemeReading reading = readScheme(identifier);
  if (reading.fault == SignatureFault::none) return reading.scheme;
  const bool isForbidden = reading.fault == SignatureFault::parametersForbidden;
  return Error::at(isForbidden ? ErrorCode::malformedField : ErrorCode::unknownAlgorithm,
                   reading.offset);
}

}  // namespace

Result<SignatureScheme> schemeOf(Bytes algorithmIdentifier) noexcept {
  return schemeAt(DerReader(algorithmIdentifier));
}

Result<SignatureScheme> Certificate::signatureScheme() const noexcept {
  const size_t at = m_block->index().outerAlgorithm;
  return schemeAt(DerReader(m_block.bytes().subspan(at), at));
}

}  // namespace velmora
