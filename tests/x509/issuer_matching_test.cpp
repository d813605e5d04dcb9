#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

constexpr const char* kCn = "2.5.4.3";
constexpr const char* kSerialAttribute = "2.5.4.5";

TEST(IssuerSelf, ComparesRenderedNames) {
  const auto cn = [](const der::Bytes& value) { return sequence(set(attribute(kCn, value))); };
  const struct {
    der::Bytes issuer, subject;
    bool expected;
  } rows[] = {
      {cn(printable("Root")), cn(printable("root")), false},
      {cn(bmp(u"Root")), cn(utf8("Root")), true},
      {der::name({{kCn, "Root"}}), der::name({{"2.5.4.10", "Root"}}), true},  // values alone
      {der::name({{kCn, "a"}, {kCn, "b"}}), der::name({{kCn, "b"}, {kCn, "a"}}), false},
      {sequence(), sequence(), true},
      {cn(utf8("a\0b"s)), cn(utf8("a\0b"s)), true},
      {cn(utf8("a\0b"s)), cn(utf8("a\0c"s)), false},
  };
  for (const auto& row : rows) {
    der::Certificate fields;
    fields.issuer = row.issuer;
    fields.subject = row.subject;
    LoadedX509 cert(fields.der());
    LogNull log;
    EXPECT_EQ(cert.isIssuerSelf(log), row.expected) << &row - rows;
  }
}

TEST(IssuedBy, GoesByKeyIdentifiersThenByNames) {
  const der::Bytes authority = listOf(extension("2.5.29.35", sequence(primitive(0, "k"))));
  const der::Bytes noAuthorityId = listOf(extension("2.5.29.35", sequence()));
  const der::Bytes subject = listOf(extension("2.5.29.14", octets("k")));
  const der::Bytes otherSubject = listOf(extension("2.5.29.14", octets("l")));
  const der::Bytes root = der::name({{kCn, "Root"}});
  const der::Bytes lower = der::name({{kCn, "root"}});
  const der::Bytes nameless = der::name({{"2.5.4.6", "US"}});
  const auto withSerial = [](const char* serial) {
    return der::name({{kSerialAttribute, serial}, {kCn, "Root"}});
  };
  const struct {
    const char* what;
    der::Bytes childIssuer, childExtensions, candidateSubject, candidateExtensions;
    bool expected;
  } rows[] = {
      {"same identifiers", root, authority, lower, subject, true},
      {"other identifiers", root, authority, root, otherSubject, false},
      {"no subject identifier", root, authority, root, "", true},
      {"no subject identifier, other name", root, authority, lower, "", false},
      {"no authority identifier", root, noAuthorityId, root, subject, true},
      {"other letter case", root, "", lower, "", false},
      {"no common names", nameless, "", nameless, "", true},
      {"one common name", nameless, "", root, "", false},
      {"serial of the candidate in the name", withSerial("0A0B"), "", root, "", true},
      {"serial in lower case", withSerial("0a0b"), "", root, "", false},
      {"serial of another", withSerial("0A"), "", root, "", false},
      {"identifiers before serial", withSerial("0A"), authority, root, subject, true},
  };
  for (const auto& row : rows) {
    der::Certificate child, candidate;
    child.issuer = row.childIssuer;
    child.extensions = row.childExtensions;
    candidate.serial = integer("\x0A\x0B");
    candidate.subject = row.candidateSubject;
    candidate.extensions = row.candidateExtensions;
    LoadedX509 childCert(child.der()), candidateCert(candidate.der());
    LogNull log;
    EXPECT_EQ(childCert.isIssuedBy(candidateCert, log), row.expected) << row.what;
  }
}

TEST(IssuerCnAndSerial, MatchesTheSerialInAnyFormAndTheNameExactly) {
  LoadedX509 cert(withField(&der::Certificate::serial, integer("\x00\xAB\x01"s)));
  const struct {
    const char *issuerCn, *serial;
    bool expected;
  } rows[] = {
      {"Root", "00ab01", true},  {"Root", "00:AB:01", true}, {"Root", "0ab01", true},  // odd count
      {"Root", "AB01", false},  // leading zeros count
      {"Root", "00AB02", false}, {"Root", nullptr, false},   {"root", "00AB01", false},
      {"", "00AB01", false},     {nullptr, "00AB01", false}, {"host", "00AB01", false},
  };
  for (const auto& row : rows) {
    LogNull log;
    EXPECT_EQ(cert.matchesIssuerCnAndSerial(row.issuerCn, row.serial, log), row.expected)
        << &row - rows;
  }
}

}  // namespace
}  // namespace velmora::test
