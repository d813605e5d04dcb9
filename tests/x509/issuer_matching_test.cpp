#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

constexpr const char* kCn = "2.5.4.3";
constexpr const char* kSerialAttribute = "2.5.4.5";

TEST(IssuerSelf, ComparesRenderedNames) {
  const auto cn = [](const der::Bytes& value) {
    return der::sequence(der::set(der::attribute(kCn, value)));
  };
  const struct {
    der::Bytes issuer, subject;
    bool expected;
  } rows[] = {
      {cn(der::printable("Root")), cn(der::printable("Root")), true},
      {cn(der::printable("Root")), cn(der::printable("root")), false},
      {cn(der::printable("Root")), cn(der::utf8("Root")), true},
      {cn(der::bmp(u"Root")), cn(der::utf8("Root")), true},
      {der::name({{kCn, "Root"}}), der::name({{"2.5.4.10", "Root"}}), true},  // values alone
      {der::name({{kCn, "a"}, {kCn, "b"}}), der::name({{kCn, "b"}, {kCn, "a"}}), false},
      {der::sequence(), der::sequence(), true},
      {cn(der::printable("Root")), der::sequence(), false},
      {cn(der::utf8(std::string_view("a\0b", 3))), cn(der::utf8(std::string_view("a\0b", 3))),
       true},
      {cn(der::utf8(std::string_view("a\0b", 3))), cn(der::utf8(std::string_view("a\0c", 3))),
       false},
      {cn(der::utf8("a")), cn(der::utf8(std::string_view("a\0c", 3))), false},
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

der::Bytes extension(const char* oid, const der::Bytes& value) {
  return der::context(3, der::sequence(der::sequence(der::oid(oid), der::octets(value))));
}

TEST(IssuedBy, GoesByKeyIdentifiersThenByNames) {
  const auto authority = [](const char* id) {
    return extension("2.5.29.35", der::sequence(der::element(0x80, id)));
  };
  const auto subject = [](const char* id) { return extension("2.5.29.14", der::octets(id)); };
  const der::Bytes noAuthorityId = extension("2.5.29.35", der::sequence());
  const der::Bytes root = der::name({{kCn, "Root"}});
  const der::Bytes lower = der::name({{kCn, "root"}});
  const der::Bytes nameless = der::name({{"2.5.4.6", "US"}});
  const der::Bytes withSerial = der::name({{kSerialAttribute, "0A0B"}, {kCn, "Root"}});
  const der::Bytes withLowerSerial = der::name({{kSerialAttribute, "0a0b"}, {kCn, "Root"}});
  const struct {
    const char* what;
    der::Bytes childIssuer, childExtensions, candidateSubject, candidateExtensions;
    bool expected;
  } rows[] = {
      {"same identifiers", root, authority("k"), lower, subject("k"), true},
      {"other identifiers", root, authority("k"), root, subject("l"), false},
      {"no subject identifier", root, authority("k"), root, "", true},
      {"no subject identifier, other name", root, authority("k"), lower, "", false},
      {"no authority identifier", root, "", root, subject("k"), true},
      {"empty authority identifier", root, noAuthorityId, root, subject("k"), true},
      {"names alone", root, "", root, "", true},
      {"other letter case", root, "", lower, "", false},
      {"no common names", nameless, "", nameless, "", true},
      {"one common name", nameless, "", root, "", false},
      {"serial of the candidate in the name", withSerial, "", root, "", true},
      {"serial in lower case", withLowerSerial, "", root, "", false},
      {"serial of another", der::name({{kSerialAttribute, "0A"}, {kCn, "Root"}}), "", root, "",
       false},
      {"identifiers before serial", der::name({{kSerialAttribute, "0A"}}), authority("k"), root,
       subject("k"), true},
  };
  for (const auto& row : rows) {
    der::Certificate child;
    child.issuer = row.childIssuer;
    child.extensions = row.childExtensions;
    der::Certificate candidate;
    candidate.serial = der::integer("\x0A\x0B");
    candidate.subject = row.candidateSubject;
    candidate.extensions = row.candidateExtensions;
    LoadedX509 childCert(child.der());
    LoadedX509 candidateCert(candidate.der());
    LogNull log;
    EXPECT_EQ(childCert.isIssuedBy(candidateCert, log), row.expected) << row.what;
  }
}

TEST(IssuerCnAndSerial, MatchesTheSerialInAnyFormAndTheNameExactly) {
  der::Certificate fields;
  fields.serial = der::integer(std::string_view("\x00\xAB\x01", 3));
  LoadedX509 cert(fields.der());
  const struct {
    const char* issuerCn;
    const char* serial;
    bool expected;
  } rows[] = {
      {"Root", "00AB01", true},   {"Root", "00ab01", true},   {"Root", "00:ab:01", true},
      {"Root", "0ab01", true},  // an odd count gets its zero
      {"Root", "AB01", false},  // leading zeros count
      {"Root", "00AB02", false},  {"Root", "", false},        {"Root", nullptr, false},
      {"root", "00AB01", false},  {"Root ", "00AB01", false}, {"", "00AB01", false},
      {nullptr, "00AB01", false}, {"host", "00AB01", false},
  };
  for (const auto& row : rows) {
    LogNull log;
    EXPECT_EQ(cert.matchesIssuerCnAndSerial(row.issuerCn, row.serial, log), row.expected)
        << &row - rows;
  }
}

}  // namespace
}  // namespace velmora::test
