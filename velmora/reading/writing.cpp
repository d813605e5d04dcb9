#include "velmora/reading/writing.h"

#include "velmora/support/asn1/der_reader.h"
#include "velmora/support/pem/pem_writer.h"
#include "velmora/support/text/whole.h"

namespace velmora {
namespace {

void appendCertificate(const Certificate& certificate, StringBuffer& out) {
  const Bytes der = certificate.der();
  appendPem("CERTIFICATE", {reinterpret_cast<const unsigned char*>(der.data()), der.size()}, out);
}

std::string textOf(const StringBuffer& text) {
  return std::string(whole(text).view());
}

// ContentInfo ::= SEQUENCE { contentType signedData, content [0] EXPLICIT SignedData }
// SignedData ::= SEQUENCE { version INTEGER, digestAlgorithms SET, contentInfo SEQUENCE { data },
//   certificates [0] IMPLICIT SET OF Certificate, signerInfos SET }
constexpr unsigned char kSignedData[] = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                         0xF7, 0x0D, 0x01, 0x07, 0x02};
constexpr unsigned char kBeforeCertificates[] = {0x02, 0x01, 0x01, 0x31, 0x00, 0x30,
                                                 0x0B, 0x06, 0x09, 0x2A, 0x86, 0x48,
                                                 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
constexpr unsigned char kNoSigners[] = {0x31, 0x00};
constexpr uint32_t kContext0 = asn1_identifier::kContext | asn1_identifier::kConstructed | 0;

size_t elementSize(size_t contentSize) {
  return 1 + lengthSize(contentSize) + contentSize;
}

void append(std::span<const unsigned char> octets, Octets& out) {
  const Bytes bytes = std::as_bytes(octets);
  out.insert(out.end(), bytes.begin(), bytes.end());
}

void appendHeader(uint32_t identifier, size_t contentSize, Octets& out) {
  unsigned char header[1 + kMostLengthSize] = {static_cast<unsigned char>(identifier)};
  append({header, writeLength(contentSize, header + 1)}, out);
}

}  // namespace

std::string toPem(const Certificate& certificate) {
  return toPem({&certificate, 1});
}

std::string toPem(std::span<const Certificate> certificates) {
  StringBuffer text;
  for (const Certificate& certificate : certificates) appendCertificate(certificate, text);
  return textOf(text);
}

Octets toP7b(std::span<const Certificate> certificates) {
  size_t setSize = 0;
  for (const Certificate& certificate : certificates) setSize += certificate.der().size();
  const size_t dataSize = sizeof kBeforeCertificates + elementSize(setSize) + sizeof kNoSigners;
  const size_t infoSize = sizeof kSignedData + elementSize(elementSize(dataSize));
  Octets out;
  out.reserve(elementSize(infoSize));
  appendHeader(asn1_identifier::kSequence, infoSize, out);
  append(kSignedData, out);
  appendHeader(kContext0, elementSize(dataSize), out);
  appendHeader(asn1_identifier::kSequence, dataSize, out);
  append(kBeforeCertificates, out);
  appendHeader(kContext0, setSize, out);
  for (const Certificate& certificate : certificates) {
    const Bytes der = certificate.der();
    out.insert(out.end(), der.begin(), der.end());
  }
  append(kNoSigners, out);
  return out;
}

}  // namespace velmora
