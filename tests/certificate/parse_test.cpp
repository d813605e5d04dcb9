#include <algorithm>
#include <functional>

#include "tests/certificate/typed_test.h"
#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/certificate_shape.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::test {
namespace {

std::span<const unsigned char> octetsIn(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// Whether each universal type below 31 is constructed or primitive as DER has it.
bool hasFormsOfTypes(std::string_view der) {
  BerWalk walk(octetsIn(der));
  Asn1Header header;
  std::span<const unsigned char> content;
  for (BerStep step; (step = walk.next(header, content)) != BerStep::kEnd;) {
    const uint32_t type = header.tagNumber;
    if (step != BerStep::kElement || header.tagClass != Asn1Class::kUniversal || type > 30)
      continue;
    const bool isConstructed = type == 8 || type == 11 || type == 16 || type == 17 || type == 29;
    if (type == 0 || header.constructed != isConstructed) return false;
  }
  return true;
}

// What parse() accepts, from the readers of BER.
bool isCertificateInDer(std::string_view der) {
  size_t size = 0;
  bool isDer = false;
  Asn1Fault fault;
  return scanBer(octetsIn(der), size, isDer, fault) && isDer && size == der.size() &&
         hasFormsOfTypes(der) && classifyDer(octetsIn(der)).isCertificate();
}

bool loadsAsX509(std::string_view der) {
  VelmoraX509 certificate;
  LogNull log;
  return certificate.loadX509DerAlt(octetsIn(der).data(), static_cast<unsigned>(der.size()),
                                    nullptr, log);
}

void expectExactly(std::string_view der, bool loads) {
  const Result<Certificate> certificate = Certificate::parse(der);
  ASSERT_EQ(certificate.has_value(), isCertificateInDer(der));
  EXPECT_TRUE(certificate ? !loads || loadsAsX509(der) : certificate.error().offset <= der.size());
}

// One with everything that a certificate may have.
der::Bytes fullCertificate() {
  der::Certificate fields;
  fields.extensions = der::join(
      element(0x81, std::string_view("\0unique", 7)),
      context(3, sequence(extension("2.5.29.19", boolean(true), octets(sequence(boolean(true)))),
                          extension("2.5.29.14", octets(octets("id"))))));
  return fields.der();
}

TEST(Parse, TakesNoPrefixAndOfChangedBytesWhatTheOtherReadersTake) {
  std::vector<std::string> ders = madeCertificates();
  for (const std::string& der : ders) expectExactly(der, true);
  ders.front() = fullCertificate();
  for (size_t n = 0; n < ders.size(); n += 12) {
    const std::string& der = ders[n];
    for (size_t i = 0; i < der.size(); ++i) {
      const Result<Certificate> prefix = Certificate::parse(std::string_view(der).substr(0, i));
      ASSERT_FALSE(prefix) << i;
      EXPECT_EQ(prefix.error().code, ErrorCode::notAsn1);
      EXPECT_LE(prefix.error().offset, i);
      std::string changed = der;
      for (int change = 1; change < 256; change += n == 0 ? 1 : change) {
        changed[i] = static_cast<char>(der[i] ^ change);
        expectExactly(changed, true);
      }
    }
  }
}

TEST(Parse, SaysWhatIsWrongAndWhere) {
  const std::string good = der::Certificate().der();
  ASSERT_EQ(good.substr(0, 2), "\x30\x81");
  const auto twoIntegers = sequence(integer("\1"), integer("\3"));
  const struct {
    std::string der;
    ErrorCode code;
    size_t offset;
    Found found = Found::certificate;
  } rows[] = {
      {"", ErrorCode::notAsn1, 0},
      {"-----BEGIN CERTIFICATE-----", ErrorCode::notAsn1, 1},
      {good.substr(0, good.size() - 1), ErrorCode::notAsn1, 1},
      {good + '\0', ErrorCode::trailingOctets, good.size()},
      {std::string("\x30\x82\0", 3) + good.substr(2), ErrorCode::notDer, 0},
      {"\x30\x80" + good.substr(3) + std::string(2, '\0'), ErrorCode::notDer, 0},
      {sequence(integer("\5")), ErrorCode::notACertificate, 2, Found::otherAsn1},
      {der::bundle(good), ErrorCode::notACertificate, 0, Found::pkcs7},
      {twoIntegers, ErrorCode::notACertificate, 0, Found::publicKey},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const Result<Certificate> certificate = Certificate::parse(row.der);
    ASSERT_FALSE(certificate);
    EXPECT_EQ(certificate.error(), (Error{row.code, row.found, static_cast<uint32_t>(row.offset)}));
  }
}

TEST(Parse, SaysWhatIsNoDerInside) {
  const struct {
    std::string_view refused;  // as the only member of the subject
    std::string_view twin;
    ErrorCode code = ErrorCode::notDer;
    size_t offset = 0;  // from the member on
  } rows[] = {
      {{"\x2C\x03\x0C\1x", 5}, {"\x0C\1x", 3}},                         // a string in segments
      {{"\x10\0", 2}, {"\x30\0", 2}},                                   // a primitive SEQUENCE
      {{"\0\0", 2}, {"\x80\0", 2}},                                     // an end-of-contents
      {{"\4\x81\1x", 4}, {"\4\1x", 3}},                                 // a length too long
      {{"\x1F\x1E\1x", 4}, {"\x1F\x1F\1x", 4}, ErrorCode::notAsn1, 1},  // a short tag written long
      {{"\4\2x", 3}, {"\4\1x", 3}, ErrorCode::notAsn1, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const std::string der = withField(&der::Certificate::subject, sequence(row.refused));
    const Result<Certificate> certificate = Certificate::parse(der);
    ASSERT_FALSE(certificate);
    const size_t offset = der.find(sequence(row.refused)) + 2 + row.offset;
    EXPECT_EQ(certificate.error(), Error::at(row.code, offset));
    EXPECT_TRUE(Certificate::parse(withField(&der::Certificate::subject, sequence(row.twin))));
  }
}

TEST(Parse, BoundsNestingAndTheNumberOfElements) {
  const auto nested = [](size_t depth) {  // in a certificate, [1] and its SEQUENCEs on levels 3 on
    der::Bytes inner;
    for (size_t level = 3; level < depth; ++level) inner = sequence(inner);
    return withField(&der::Certificate::extensions, context(1, inner));
  };
  EXPECT_TRUE(Certificate::parse(nested(100)));
  EXPECT_EQ(Certificate::parse(nested(101)).error().code, ErrorCode::tooLarge);

  // 65,536 elements and one for every four octets: so many NULLs in a SEQUENCE of 5 octets more.
  std::string nulls;
  for (int i = 0; i < 131072; ++i) nulls += null();
  const auto codeOf = [](const std::string& content) {
    return Certificate::parse(sequence(content)).error().code;
  };
  EXPECT_EQ(codeOf(nulls), ErrorCode::notACertificate);
  EXPECT_EQ(codeOf(nulls + null()), ErrorCode::tooLarge);
}

}  // namespace
}  // namespace velmora::test
