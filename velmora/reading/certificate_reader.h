#pragma once

// Finds the certificates in bytes of any form, as the bytes come.

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "velmora/certificate/certificate.h"
#include "velmora/reading/xml_splitter.h"
#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/core/arrays.h"
#include "velmora/support/core/export.h"
#include "velmora/support/log/first_error_log.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/pem/pem_scanner.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/utf16_stream.h"

namespace velmora {

class ClsXml;
struct DerShape;

/// Where in its input something was found. The label is valid during the call that brings it.
struct CertificatePlace {
  size_t index = 0;        // from 0 within the input; what could not be read has one too
  std::string_view label;  // of the PEM block or of an END without one; empty for all else
  size_t line = 0;  // of the BEGIN, of a line at fault between PEM blocks, or of the XML document,
                    // from 1; 0 where unknown
};

/// Why something is no certificate. The text is valid during the call that brings it.
struct CertificateFailure {
  std::string_view reason;              // a sentence for people
  std::optional<size_t> offset = {};    // of the octet at fault in the input's (the block's) DER
  size_t line = 0;                      // at fault in PEM, from 1; 0 where unknown
  ErrorCode code = ErrorCode::notAsn1;  // the same for programs
  Found found = Found::notAsn1;         // with notACertificate: what it is instead
  /// With a public key or a request, its octets, valid during the call.
  std::span<const unsigned char> octets = {};
};

/// Receives what a CertificateReader finds, one item after the other, in the input's order.
class VELMORA_API CertificateSink {
 public:
  virtual ~CertificateSink() = default;

  /// One certificate. The bytes have the shape of one (classifyDer) and are valid during the call.
  /// They are DER, or BER where a certificate that stands outside a bundle is in BER. `typed` is
  /// what Certificate::parse gives of them: of BER, and where memory ran out, an error.
  virtual void certificate(const CertificatePlace& place, std::span<const unsigned char> der,
                           const Result<Certificate>& typed) = 0;

  /// Something that is no certificate or could not be read. Reading goes on behind it.
  virtual void failure(const CertificatePlace& place, const CertificateFailure& failure) = 0;
};

/// Reads certificates from an input that comes in pieces, in any of the forms below. The first
/// bytes tell the form, never a name; a UTF-8 byte order mark and white space may precede them.
/// Text behind a mark of UTF-16 is read as the same text in UTF-8.
///
///   DER, BER     elements in a row; each a certificate or a PKCS #7 bundle
///   PEM          blocks as in RFC 7468, lines of text around them ignored (not what stands on the
///                line of a BEGIN or END); the content of a block tells what it holds, not its
///                label ("TRUSTED CERTIFICATE" alone means that something follows the certificate,
///                which is passed over)
///   base64       the same without BEGIN and END lines
///   ASN.1 XML    documents in a row, as DerXmlCodec describes them and ClsXml::loadXml takes them;
///                each of one element, or a list of them, each first in a wrapper of its own, as
///                VelmoraX509::loadX509_fromXml takes it
///
/// A bundle (PKCS #7 SignedData, RFC 2315 §9.1) gives each of its certificates in order, duplicates
/// included, as DER with the bytes that VelmoraX509::loadX509DerAlt cuts out.
///
/// All is read as a stream, of any length: only the DER of one element or block is held, or one XML
/// document. Beyond kMaxDerSize an element, with all that follows it, or a block is refused; beyond
/// kMaxXmlSize an XML document. Time is proportional to the input. Not safe for concurrent use.
/// Throws only what the sink throws.
class VELMORA_API CertificateReader {
 public:
  /// The most octets of DER that one element, or one block, may have.
  static constexpr size_t kMaxDerSize = size_t{64} << 20;
  /// Hexadecimal takes two characters for an octet, base64 and the tags somewhat less or more.
  static constexpr size_t kMaxXmlSize = 4 * kMaxDerSize;

  /// The sink outlives the reader.
  explicit CertificateReader(CertificateSink& sink) noexcept
      : m_sink(sink), m_pem(kMaxDerSize), m_xml(kMaxXmlSize) {}
  CertificateReader(const CertificateReader&) = delete;
  CertificateReader& operator=(const CertificateReader&) = delete;

  /// Takes the next piece of the input. False once the rest of the input cannot matter any more:
  /// the caller may stop.
  bool feed(std::span<const unsigned char> bytes);
  bool feed(std::string_view text);

  /// Takes the end of the input. To be called once, after the last piece.
  void finish();

  /// How many items the sink was given: the index of the next one.
  size_t count() const noexcept { return m_place.index; }

 private:
  enum class Form { kUnknown, kBinary, kText, kXml, kDone };

  std::string_view takeMark(std::string_view text);
  void readUtf16(std::string_view text);
  void readUtf8(std::string_view text);
  std::string_view sniff(std::string_view text);
  bool dropBlankStart();
  std::optional<Form> formOf(std::string_view start, bool atEnd) const;
  void settle(Form form);
  void read(std::string_view text);
  void readBinary(std::string_view text);
  void readText(std::string_view text);
  void readXml(std::string_view text);

  void pemEvent(PemScanner::Event event);
  void xmlEvent(XmlSplitter::Event event);
  void failAsLogged();
  void xmlDocument();
  void readXmlList(ClsXml& root);
  void readXmlElement(ClsXml& root);

  void readWholeElements();
  void readElements(DerReader elements, bool firstOnly);
  void readElement(const Asn1Element& element);
  void readBundle(const Asn1Element& contentInfo);
  void readBundleMember(const Asn1Element& member);

  void give(std::span<const unsigned char> der, const Result<Certificate>& typed);
  void fail(const CertificateFailure& failure);
  void fail(std::string_view reason, std::optional<size_t> offset = std::nullopt) {
    fail(CertificateFailure{reason, offset});
  }
  void failAs(Found found, std::string_view reason, std::optional<size_t> offset = std::nullopt) {
    const bool isAsn1 = found != Found::notAsn1;
    fail({reason, offset, 0, isAsn1 ? ErrorCode::notACertificate : ErrorCode::notAsn1, found});
  }
  void failAs(const DerShape& shape, std::span<const unsigned char> octets);
  void failAtFault(const Asn1Fault& fault) { fail(fault.reason, fault.offset); }
  void stop(const CertificateFailure& failure);

  CertificateSink& m_sink;
  CertificatePlace m_place;
  Form m_form = Form::kUnknown;
  std::array<char, 32> m_start;  // the first bytes, until they tell the form
  size_t m_startSize = 0;
  bool m_markPossible = true;          // a byte order mark may stand here
  std::optional<Utf16Stream> m_utf16;  // of an input with its mark
  StringBuffer m_utf8;                 // a piece of it
  bool m_lastWasCr = false;
  DataBuffer m_binary;    // what was not read yet
  size_t m_consumed = 0;  // octets of the input in front of it
  size_t m_wanted = 0;    // octets of it, before there is any use in reading on
  PemScanner m_pem;
  XmlSplitter m_xml;
  DataBuffer m_converted;
  FirstErrorLog m_log;
};

/// Reads all certificates of an input in memory (see CertificateReader) and appends a
/// VelmoraX509Holder of each, loaded, to `out`, in order. True when there was nothing else in the
/// input; false when something was no certificate or could not be read (the certificates found
/// before and behind it are appended all the same), each with an error line and the data items
/// "index", "offset", "label", "line" and "faultLine" where they are known. Takes no lock. Log
/// context "readCertificates".
VELMORA_API bool readCertificates(std::span<const unsigned char> bytes, ExtPtrArray& out,
                                  LogBase& log);
VELMORA_API bool readCertificates(std::string_view bytes, ExtPtrArray& out, LogBase& log);

}  // namespace velmora
