#include "bench/certificate_bundle.h"

#include <array>
#include <bit>
#include <fstream>
#include <iterator>
#include <span>
#include <string_view>

#include "velmora/reading/certificate_reader.h"

namespace velmora::bench {

namespace {

using Bytes = std::vector<unsigned char>;

class Collector final : public CertificateSink {
 public:
  void certificate(const CertificatePlace&, std::span<const unsigned char> der,
                   const Result<Certificate>&) override {
    ders.emplace_back().append(der);
  }
  void failure(const CertificatePlace&, const CertificateFailure&) override {}

  Ders ders;
};

void append(Bytes& out, std::span<const unsigned char> bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

// One DER element (X.690 §8.1, §10.1).
Bytes element(unsigned char tag, std::span<const unsigned char> content) {
  const size_t size = content.size();
  Bytes out;
  out.reserve(size + 10);
  out.push_back(tag);
  if (size < 0x80) {
    out.push_back(static_cast<unsigned char>(size));
  } else {
    const int octets = (static_cast<int>(std::bit_width(size)) + 7) / 8;
    out.push_back(static_cast<unsigned char>(0x80 + octets));
    for (int shift = 8 * octets; (shift -= 8) >= 0;) {
      out.push_back(static_cast<unsigned char>(size >> shift));
    }
  }
  append(out, content);
  return out;
}

Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& part : parts) append(out, part);
  return out;
}

// Where the content of the element at `at` starts.
size_t contentOf(std::span<const unsigned char> der, size_t at) {
  return at + 2 + (der[at + 1] >= 0x80 ? der[at + 1] & 0x7FU : 0U);
}

std::span<const unsigned char> serialOf(std::span<const unsigned char> der) {
  size_t at = contentOf(der, contentOf(der, 0));  // the first member of tbsCertificate
  if (der[at] == 0xA0) at = contentOf(der, at) + 3;
  return der.subspan(at + 2, der[at + 1]);
}

// The first two octets stay, so that the number stays one in DER.
bool hasLongSerial(const DataBuffer& der) {
  return serialOf(der.span()).size() >= 6;
}

// Writes `number` over the last four octets of a long serial number.
void overwriteSerial(std::span<unsigned char> der, size_t number) {
  const auto serial = serialOf(der);
  const size_t end = static_cast<size_t>(serial.data() - der.data()) + serial.size();
  for (size_t i = 1; i <= 4; ++i, number >>= 8) der[end - i] = static_cast<unsigned char>(number);
}

// RFC 5652 §5.1, without signers: SEQUENCE { OID signedData, [0] { SEQUENCE { version 1, SET {},
// SEQUENCE { OID data }, [0] { certificates }, SET {} } } }.
Bytes signedData(std::span<const unsigned char> certificates) {
  constexpr std::array<unsigned char, 9> kSignedData = {0x2A, 0x86, 0x48, 0x86, 0xF7,
                                                        0x0D, 0x01, 0x07, 0x02};
  constexpr std::array<unsigned char, 9> kData = {0x2A, 0x86, 0x48, 0x86, 0xF7,
                                                  0x0D, 0x01, 0x07, 0x01};
  const Bytes content = element(0x30, joined({{0x02, 0x01, 0x01},
                                              {0x31, 0x00},
                                              element(0x30, element(0x06, kData)),
                                              element(0xA0, certificates),
                                              {0x31, 0x00}}));
  return element(0x30, joined({element(0x06, kSignedData), element(0xA0, content)}));
}

Bytes text(unsigned char tag, std::string_view characters) {
  return element(tag, Bytes(characters.begin(), characters.end()));
}

// AttributeTypeAndValue of the organizational unit.
Bytes rdnOf(std::string_view value) {
  const Bytes attribute =
      element(0x30, joined({{0x06, 0x03, 0x55, 0x04, 0x0B}, text(0x0C, value)}));
  return element(0x31, attribute);
}

// An RSA key of 2,048 bits, which every library reads.
Bytes keyInfo() {
  constexpr std::array<unsigned char, 15> kRsa = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                  0xF7, 0x0D, 0x01, 0x01, 0x01, 0x05, 0x00};
  Bytes modulus(257, 0xC5);
  modulus[0] = 0;
  Bytes bits(1);  // none of them is unused
  append(bits, element(0x30, joined({element(0x02, modulus), {0x02, 0x03, 0x01, 0x00, 0x01}})));
  return element(0x30, joined({Bytes(kRsa.begin(), kRsa.end()), element(0x03, bits)}));
}

Bytes certificateOf(std::span<const unsigned char> subject,
                    std::span<const unsigned char> extensions) {
  constexpr std::array<unsigned char, 15> kRsaSha256 = {
      0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0B, 0x05, 0x00};
  const Bytes algorithm(kRsaSha256.begin(), kRsaSha256.end());
  const Bytes validity =
      element(0x30, joined({text(0x17, "250101000000Z"), text(0x17, "350101000000Z")}));
  const Bytes toBeSigned = element(
      0x30, joined({{0xA0, 0x03, 0x02, 0x01, 0x02},
                    {0x02, 0x01, 0x01},
                    algorithm,
                    element(0x30, rdnOf("issuer")),
                    validity,
                    element(0x30, subject),
                    keyInfo(),
                    extensions.empty() ? Bytes() : element(0xA3, element(0x30, extensions))}));
  return element(0x30, joined({toBeSigned, algorithm, element(0x03, Bytes(257))}));
}

DataBuffer bufferOf(std::span<const unsigned char> bytes) {
  DataBuffer out;
  out.append(bytes);
  return out;
}

// Of six digits, so that ten times as many names are ten times as many octets.
std::string numbered(size_t number) {
  return std::to_string(1'000'000 + number).substr(1);
}

}  // namespace

Ders readDers(const char* path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  Collector collector;
  CertificateReader reader(collector);
  reader.feed(std::string_view(bytes));
  reader.finish();
  return std::move(collector.ders);
}

DataBuffer makeBundle(const Ders& ders, size_t count) {
  std::vector<const DataBuffer*> templates;
  for (const DataBuffer& der : ders) {
    if (hasLongSerial(der)) templates.push_back(&der);
  }
  Bytes certificates;
  for (size_t i = 0; i < count && !templates.empty(); ++i) {
    const size_t start = certificates.size();
    append(certificates, templates[i % templates.size()]->span());
    overwriteSerial(std::span(certificates).subspan(start), i);
  }
  return bufferOf(signedData(certificates));
}

DataBuffer makeWithAlternativeNames(size_t count) {
  Bytes names;
  for (size_t i = 0; i < count; ++i) {
    append(names, text(0x82, "host" + numbered(i) + ".example.com"));
  }
  const Bytes value = element(0x04, element(0x30, names));
  const Bytes extension = element(0x30, joined({{0x06, 0x03, 0x55, 0x1D, 0x11}, value}));
  return bufferOf(certificateOf(rdnOf("subject"), extension));
}

DataBuffer makeWithRdns(size_t count) {
  Bytes subject;
  for (size_t i = 0; i < count; ++i) append(subject, rdnOf("unit " + numbered(i)));
  return bufferOf(certificateOf(subject, {}));
}

}  // namespace velmora::bench
