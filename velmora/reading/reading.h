#pragma once

// Typed certificates out of files and bytes in any form that CertificateReader reads: DER, BER,
// PEM, PKCS #7, bare base64, ASN.1 XML. Nothing here takes a lock or writes a log; any thread may
// call any of these. Memory that runs out ends in std::bad_alloc.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/certificate/bytes.h"
#include "velmora/certificate/certificate.h"
#include "velmora/certificate/result.h"
#include "velmora/reading/certificate_reader.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// Something in an input that is no certificate or could not be read.
struct ReadFailure {
  size_t index = 0;      // of the item in the input, from 0; certificates count too
  size_t line = 0;       // of the BEGIN line or of the XML document, from 1; 0 where there is none
  size_t faultLine = 0;  // at fault in a PEM block, likewise
  std::string label;     // of the PEM block; empty for every other form
  Error error;           // its offset is that in the DER of the input, or of the block
  std::string reason;    // a sentence for people, more exact than error.message()
};

/// Of a certificate that came as BER, the octets as they stood there.
struct BerOriginal {
  size_t certificate = 0;  // its index in Reading::certificates
  Octets octets;           // without any change
};

/// What an input holds.
struct VELMORA_API Reading {
  std::vector<Certificate> certificates;  // in the input's order
  std::vector<ReadFailure> failures;      // likewise
  std::vector<BerOriginal> originals;     // likewise; what is not named here came as DER

  /// Whether the input held certificates and nothing else.
  bool complete() const noexcept { return failures.empty(); }

  /// The octets by which a certificate is known to whoever sent it, and which fingerprints are of:
  /// those that stood in the input, also where that was BER. They live as long as this object.
  Bytes originalOf(size_t certificate) const& noexcept;
  Bytes originalOf(size_t certificate) const&& = delete;
};

/// Reads all of an input in memory. Duplicates are kept. Linear in the input.
VELMORA_API Reading readCertificates(Bytes input);

template <ByteRange R>
Reading readCertificates(const R& input) {
  return readCertificates(std::as_bytes(std::span(input)));
}

/// Reads a file, or whatever opens under that path, piece by piece. One that cannot be opened or
/// read is a failure with ErrorCode::cannotOpenFile and the system's reason.
VELMORA_API Reading readCertificateFile(const std::string& path);

/// The certificate that some BER stands for: its DER as DerXmlCodec encodes it, with definite and
/// shortest lengths and strings in one piece, and nothing else changed. For DER the same as
/// Certificate::parse. Errors as there, with the offset in the BER (notAsn1) or in the DER made of
/// it. Fingerprints of what comes out are those of the DER, which nobody has sent and no signature
/// needs to be of.
VELMORA_API Result<Certificate> certificateFromBer(Bytes ber) noexcept;

/// A sink for whoever works on typed certificates: of BER it hands on the one that the BER stands
/// for (certificateFromBer), and what gives none, also for lack of memory, comes as a failure like
/// any other.
class VELMORA_API TypedCertificateSink : public CertificateSink {
 public:
  /// One certificate; of the octets as they stood in the input `berAt` is the offset of the first
  /// that is no DER, none where all of it is. The octets are valid during the call.
  virtual void typedCertificate(const CertificatePlace& place, Bytes octets,
                                const Certificate& certificate, std::optional<uint32_t> berAt) = 0;

 private:
  void certificate(const CertificatePlace& place, std::span<const unsigned char> octets,
                   const Result<Certificate>& typed) final;
};

}  // namespace velmora
