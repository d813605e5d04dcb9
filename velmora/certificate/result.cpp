#include "velmora/certificate/result.h"

#include "velmora/support/core/out_of_memory.h"

namespace velmora {
namespace {

std::string_view notACertificate(Found found) noexcept {
  switch (found) {
    case Found::certificate:
      return "A certificate, where none is wanted.";
    case Found::pkcs7:
      return "A PKCS #7 bundle, not a certificate.";
    case Found::privateKey:
      return "A private key, not a certificate.";
    case Found::encryptedPrivateKey:
      return "An encrypted private key (PKCS #8), not a certificate.";
    case Found::request:
      return "A certificate request, not a certificate.";
    case Found::crl:
      return "A certificate revocation list, not a certificate.";
    case Found::publicKey:
      return "A public key, not a certificate.";
    case Found::pkcs12:
      return "A PKCS #12 store, which may be encrypted, not a certificate.";
    case Found::ocspResponse:
      return "An OCSP response, not a certificate.";
    case Found::otherAsn1:
    case Found::notAsn1:
      break;
  }
  return "ASN.1, but not a certificate.";
}

}  // namespace

std::string_view Error::message() const noexcept {
  switch (code) {
    case ErrorCode::absent:
      return "It is not there.";
    case ErrorCode::outOfMemory:
      return kMemoryRanOut;
    case ErrorCode::notAsn1:
      return "Not ASN.1.";
    case ErrorCode::notDer:
      return "ASN.1 that is not encoded as DER wants it.";
    case ErrorCode::trailingOctets:
      return "Octets follow the element.";
    case ErrorCode::notACertificate:
      return notACertificate(found);
    case ErrorCode::malformedField:
      return "A field is not of its type.";
    case ErrorCode::malformedName:
      return "A name is malformed.";
    case ErrorCode::malformedDate:
      return "A date cannot be read.";
    case ErrorCode::malformedKey:
      return "The public key is malformed.";
    case ErrorCode::malformedExtension:
      return "An extension, or the list of them, is malformed.";
    case ErrorCode::repeatedExtension:
      return "An extension is there more than once.";
    case ErrorCode::malformedText:
      return "A text is malformed.";
    case ErrorCode::unknownAlgorithm:
      return "The algorithm is not known.";
    case ErrorCode::tooLarge:
      return "It is larger than can be taken.";
    case ErrorCode::cannotOpenFile:
      return "The file cannot be opened.";
    case ErrorCode::notAHost:
      return "Not a host name, an IP address or an e-mail address.";
    case ErrorCode::hostNotAscii:
      return "A name with letters beyond ASCII; its ASCII form (\"xn--...\") is needed.";
  }
  return {};
}

}  // namespace velmora
