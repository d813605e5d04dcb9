#include "tests/certificate/typed_test.h"

namespace velmora::test {
namespace {

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
      {{"\x2C\x03\x0C\1x", 5}, {"\x0C\1x", 3}},  // a string in segments
      {{"\x08\0", 2}, {"\x28\0", 2}},            // what is constructed, primitive
      {{"\x0B\0", 2}, {"\x2B\0", 2}},
      {{"\x10\0", 2}, {"\x30\0", 2}},
      {{"\x11\0", 2}, {"\x31\0", 2}},
      {{"\x1D\0", 2}, {"\x3D\0", 2}},
      {{"\x21\0", 2}, {"\1\0", 2}},  // what is primitive, constructed
      {{"\x3E\0", 2}, {"\x1E\0", 2}},
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
