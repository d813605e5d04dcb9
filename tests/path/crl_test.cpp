#include <algorithm>

#include "tests/certificate/typed_test.h"
#include "velmora/certificate/issuer_key.h"
#include "velmora/path/crl.h"
#include "velmora/path/internal/crl_index.h"

namespace velmora::test {
namespace {

using std::chrono::sys_days;
using std::chrono::sys_seconds;

sys_seconds january(int day) {
  return sys_days(std::chrono::year(2025) / 1 / day);
}

der::Bytes entry(const der::Bytes& serial, const der::Bytes& more = "") {
  return sequence(integer(serial), utcTime("250105000000Z"), more);
}
der::Bytes reasonOf(const der::Bytes& value) {
  return extension("2.5.29.21", octets(value));
}
der::Bytes reason(char number) {
  return reasonOf(element(10, der::Bytes(1, number)));
}
der::Bytes critical(const std::string& oid, const der::Bytes& value) {
  return extension(oid, boolean(true), octets(value));
}

// The fields of a CRL (RFC 5280 §5.1), each the octets of an element or none.
struct CrlFields {
  der::Bytes version = integer("\x01");
  der::Bytes innerAlgorithm = algorithm("1.2.840.113549.1.1.11");
  der::Bytes issuer = der::Certificate().issuer;
  der::Bytes thisUpdate = utcTime("250110000000Z");
  der::Bytes nextUpdate = utcTime("250210000000Z");
  der::Bytes revoked = sequence(entry("\x05", sequence(reason(1))));
  der::Bytes extensions;
  der::Bytes outerAlgorithm = innerAlgorithm;
  der::Bytes signature = bits("signed");

  der::Bytes der() const {
    return sequence(
        sequence(version, innerAlgorithm, issuer, thisUpdate, nextUpdate, revoked, extensions),
        outerAlgorithm, signature);
  }
};

der::Bytes crlWith(der::Bytes CrlFields::*field, const der::Bytes& value) {
  CrlFields fields;
  fields.*field = value;
  return fields.der();
}

Result<Crl> parseCrl(std::string_view der) {
  return Crl::parse(std::as_bytes(std::span<const char>(der)));
}

Bytes bytesOf(std::string_view octets) {
  return std::as_bytes(std::span<const char>(octets));
}

enum { kNoCrl, kListsAlone, kVouches };

// Each row differs in one field from a CRL that vouches.
TEST(Crls, VouchOnlyWhenAllOfThemIsUnderstood) {
  using Field = der::Bytes CrlFields::*;
  const auto revoked = [](const der::Bytes& more) { return sequence(entry("\x05", more)); };
  const auto list = [](const der::Bytes& more) { return context(0, sequence(more)); };
  const auto point = [](const der::Bytes& members) {
    return critical("2.5.29.28", sequence(members));
  };
  const der::Bytes one = integer("\x01");
  const der::Bytes false_ = element(1, std::string_view("\0", 1));
  const struct {
    Field field;
    der::Bytes value;
    int expected;
  } rows[] = {
      {&CrlFields::version, integer("\x01"), kVouches},
      {&CrlFields::version, "", kListsAlone},  // and yet an entry has extensions
      {&CrlFields::version, integer(std::string_view("\0", 1)), kNoCrl},
      {&CrlFields::version, integer("\x02"), kNoCrl},
      {&CrlFields::innerAlgorithm, sequence(null()), kNoCrl},
      {&CrlFields::outerAlgorithm, sequence(null()), kNoCrl},
      {&CrlFields::issuer, sequence(), kVouches},
      {&CrlFields::issuer, set(), kNoCrl},
      {&CrlFields::thisUpdate, generalizedTime("20250110000000Z"), kVouches},
      {&CrlFields::thisUpdate, utcTime("no date"), kVouches},
      {&CrlFields::thisUpdate, octets(""), kNoCrl},
      {&CrlFields::nextUpdate, "", kVouches},
      {&CrlFields::nextUpdate, octets(""), kNoCrl},
      {&CrlFields::signature, octets("signed"), kNoCrl},
      {&CrlFields::signature, bits("signed") + null(), kNoCrl},
      // Entries.
      {&CrlFields::revoked, "", kVouches},
      {&CrlFields::revoked, sequence(), kVouches},
      {&CrlFields::revoked, set(), kNoCrl},
      {&CrlFields::revoked, sequence(set()), kNoCrl},
      {&CrlFields::revoked, sequence(sequence(integer("\x05"))), kNoCrl},
      {&CrlFields::revoked, revoked(null()), kNoCrl},
      {&CrlFields::revoked, sequence(sequence(integer("\x05"), utcTime("x"))), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(reason(6))), kVouches},
      {&CrlFields::revoked, revoked(sequence(reasonOf("\x2A\x01\x06"))), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(reasonOf("\x0A\x81\x01\x06"))), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(reason(7))), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(reason(8))), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(reason(11))), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(reason(1), reason(1))), kListsAlone},
      {&CrlFields::revoked, revoked(sequence()), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(null())), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(extension("1.2.3", octets("x")))), kVouches},
      {&CrlFields::revoked, revoked(sequence(critical("1.2.3", "x"))), kListsAlone},
      {&CrlFields::revoked, revoked(sequence(critical("2.5.29.29", "x"))), kListsAlone},
      {&CrlFields::revoked,
       revoked(sequence(critical("2.5.29.24", generalizedTime("20250101000000Z")))), kVouches},
      {&CrlFields::revoked, revoked(sequence(critical("2.5.29.24", "x"))), kListsAlone},
      // Extensions.
      {&CrlFields::extensions, context(1, null()), kNoCrl},
      {&CrlFields::extensions, context(0, null()), kListsAlone},
      {&CrlFields::extensions, list(""), kListsAlone},
      {&CrlFields::extensions, list(extension("2.5.29.20", octets(one))), kVouches},
      {&CrlFields::extensions, list(critical("2.5.29.20", one)), kListsAlone},
      {&CrlFields::extensions, list(extension("2.5.29.20", octets(one)) + null()), kListsAlone},
      {&CrlFields::extensions, list(extension("1.2.3", false_, octets("x"))), kVouches},
      {&CrlFields::extensions, list(sequence(element(6, "\x2A\x03"), octets("x"))), kVouches},
      {&CrlFields::extensions, list(sequence(element(6, "\x2A\x83"), octets("x"))), kListsAlone},
      {&CrlFields::extensions, list(sequence(element(6, ""), octets("x"))), kListsAlone},
      {&CrlFields::extensions, list(extension("1.2.3", element(1, "\x01"), octets(""))),
       kListsAlone},
      {&CrlFields::extensions, list(extension("2.5.29.27", octets(one))), kListsAlone},
      {&CrlFields::extensions, list(point(primitive(1, "\xFF"))), kVouches},
      {&CrlFields::extensions, list(point(primitive(1, "\x01"))), kListsAlone},
      {&CrlFields::extensions, list(point(primitive(4, "\xFF"))), kListsAlone},
      {&CrlFields::extensions, list(point("") + point("")), kListsAlone},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Result<Crl> crl = parseCrl(crlWith(rows[i].field, rows[i].value));
    ASSERT_EQ(crl.has_value(), rows[i].expected != kNoCrl) << i;
    EXPECT_TRUE(crl || crl.error().code == ErrorCode::malformedField) << i;
    if (!crl) continue;
    EXPECT_EQ(crl->mayVouch(), rows[i].expected == kVouches) << i;
    EXPECT_EQ(crl->find(bytesOf("\x05")).has_value(), crl->size() != 0) << i;
  }
  const der::Bytes good = CrlFields().der();
  EXPECT_EQ(parseCrl(good + '\0').error(), Error::at(ErrorCode::trailingOctets, good.size()));
  const der::Bytes longer = std::string("\x30\x82\0", 3) + good.substr(2);
  EXPECT_EQ(parseCrl(longer).error().code, ErrorCode::notDer);
  for (size_t size = 0; size < good.size(); ++size) EXPECT_FALSE(parseCrl(good.substr(0, size)));
}

TEST(Crls, FindEverySerialNumberAndNoOther) {
  // The same last octets again and again, and numbers of which some are others with more in front.
  std::vector<der::Bytes> serials = {std::string(1, '\0'), "\x7F", std::string("\0\x80", 2), "\x80",
                                     std::string(300, '\x11')};
  for (int i = 0; i < 5000; ++i) {
    serials.push_back("\x01" + std::to_string(i * 7919 % 5000) + (i % 2 != 0 ? "same" : "end"));
  }
  der::Bytes entries;
  for (const der::Bytes& serial : serials) entries += entry(serial);
  entries += entry("\x7F", sequence(reason(1)));  // which is there before without a reason
  // Who is listed is revoked, though another entry removes him.
  entries += entry("\x01gone", sequence(reason(8))) + entry("\x01gone", sequence(reason(1)));
  const Result<Crl> crl = parseCrl(crlWith(&CrlFields::revoked, sequence(entries)));
  ASSERT_TRUE(crl);
  EXPECT_EQ(crl->size(), serials.size() + 3);
  EXPECT_EQ(crl->find(bytesOf("\x01gone"))->reason, CrlReason::keyCompromise);
  for (const der::Bytes& serial : serials) {
    const Result<RevokedCertificate> found = crl->find(bytesOf(serial));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->reason, std::nullopt);
    EXPECT_EQ(found->at, january(5));
    EXPECT_FALSE(crl->find(bytesOf(serial + "0")));
    EXPECT_FALSE(crl->find(bytesOf("\x02" + serial)));
  }
  const std::string zeros("\0\0\x7F", 3);
  EXPECT_TRUE(crl->find(bytesOf(zeros)));
  EXPECT_TRUE(crl->find(bytesOf("\xFF\x80")));
  EXPECT_FALSE(crl->find(bytesOf("\xFF")));
  EXPECT_FALSE(crl->find({}));
}

struct FromOpenSsl {
  const std::string path = VELMORA_SOURCE_DIR "/tests/data/crls.pem";
  const std::string pem = fileContent(path);
  const Certificate issuer = parsed(certificatesIn(path).at(0));
  const std::vector<Crl> crls = CrlSet::read(bytesOf(pem)).crls;
};

TEST(Crls, OfOpenSslAreReadAndVerified) {
  const FromOpenSsl made;
  ASSERT_EQ(made.crls.size(), 2u);
  const Crl& plain = made.crls[0];
  EXPECT_TRUE(plain.issuer().matches(made.issuer.subject()));
  EXPECT_EQ(*plain.thisUpdate(), january(10));
  EXPECT_EQ(*plain.nextUpdate(), sys_days(std::chrono::year(2025) / 2 / 10));
  EXPECT_EQ(plain.size(), 4u);
  EXPECT_EQ(plain.find(bytesOf("\x01"))->reason, std::nullopt);
  EXPECT_EQ(plain.find(bytesOf("\x02" + std::string(1, '\0')))->reason, CrlReason::superseded);
  EXPECT_EQ(plain.find(bytesOf(std::string("\0\x80", 2)))->reason, CrlReason::certificateHold);
  EXPECT_EQ(plain.find(bytesOf("\x7F" + std::string(15, '\xFF')))->at, january(6));
  EXPECT_TRUE(plain.mayVouch());
  EXPECT_TRUE(plain.issuingDistributionPoint().error().isAbsent());
  const auto point = made.crls[1].issuingDistributionPoint();
  ASSERT_TRUE(point);
  EXPECT_TRUE(point->onlyUserCertificates && !point->onlyCaCertificates && !point->isIndirect);
  EXPECT_EQ(textOf(point->fullName.at(0)), "uri http://crl.example.org/part.crl");

  // No flipped bit is signed, be it in what is signed or in one of the two algorithms.
  const IssuerKey key(made.issuer);
  const std::string der = charactersOf(plain.der());
  EXPECT_EQ(key.check(plain.signedParts()).fault, SignatureFault::none);
  for (size_t at = 0; at < der.size(); ++at) {
    std::string changed = der;
    changed[at] = static_cast<char>(changed[at] ^ 1 << at % 8);
    const Result<Crl> crl = parseCrl(changed);
    EXPECT_FALSE(crl && key.check(crl->signedParts()).fault == SignatureFault::none) << at;
  }
  SignedParts parts = plain.signedParts();
  parts.innerAlgorithm = made.issuer.parts().spki;
  EXPECT_EQ(key.check(parts).fault, SignatureFault::algorithmsDiffer);
  parts.outerAlgorithm = parts.innerAlgorithm;
  EXPECT_NE(key.check(parts).verdict, SignatureVerdict::good);
  parts.innerAlgorithm = parts.outerAlgorithm = {};
  EXPECT_EQ(key.check(parts).verdict, SignatureVerdict::refused);
}

TEST(Crls, StandInARowOrInBlocks) {
  const FromOpenSsl made;
  ASSERT_EQ(made.crls.size(), 2u);
  const std::string one = charactersOf(made.crls[0].der());
  const std::string two = charactersOf(made.crls[1].der());
  const std::string other = der::Certificate().der();
  const std::string null("\5\0", 2);
  const size_t begin = made.pem.find("-----BEGIN X509");
  const size_t second = made.pem.find("-----BEGIN X509", begin + 1);
  const std::string before = made.pem.substr(0, begin);
  const auto line = 1 + static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
  const std::string damaged = std::string(made.pem).replace(begin + 30, 1, "*");
  const auto at = [](size_t index, Error error, size_t begins = 0, size_t fault = 0) {
    return std::tuple(index, begins, fault, error);
  };
  using Failure = std::optional<decltype(at(0, {}))>;
  const Error text{ErrorCode::malformedText}, absent{ErrorCode::absent};
  const struct {
    std::string input;
    std::vector<Crl> crls;
    Failure failure;
  } cases[] = {
      {one + two, made.crls, {}},
      {one + "\n", {made.crls[0]}, at(1, Error::at(ErrorCode::notAsn1, one.size() + 1))},
      {one + null + two,
       {made.crls[0]},
       at(1, Error::at(ErrorCode::trailingOctets, one.size() + 2))},
      {one + other + two, made.crls, at(1, Error::at(ErrorCode::malformedField, one.size() + 6))},
      {"text\n" + made.pem + "more", made.crls, {}},
      {damaged, {made.crls[1]}, at(0, text, line, line + 1)},
      {made.pem.substr(0, second + 40), {made.crls[0]}, at(1, text, line + 10)},
      {before, {}, at(0, absent)},
      {"", {}, at(0, absent)},
  };
  for (const auto& each : cases) {
    const CrlReading read = CrlSet::read(bytesOf(each.input));
    EXPECT_EQ(read.crls, each.crls);
    ASSERT_EQ(read.failures.size(), each.failure ? 1u : 0u);
    if (!each.failure) continue;
    const CrlFailure& failure = read.failures[0];
    EXPECT_EQ(at(failure.index, failure.error, failure.line, failure.faultLine), *each.failure);
    EXPECT_FALSE(failure.reason.empty());
  }
}

// Whoever signs writes so.
struct Signers final : CrlSigners {
  Signed haveSigned(const Crl& crl, bool) override {
    ++asked;
    const std::string signature = charactersOf(crl.signedParts().signature);
    return signature == "signed"   ? Signed::yes
           : signature == "Unsure" ? Signed::unsettled
                                   : Signed::no;
  }
  bool mayLook(uint64_t crls) override { return (looked += crls) <= 1'000; }
  uint64_t looked = 0;
  int asked = 0;
};

// A CRL that lists the certificate 1 or none, from one day of January to another, of a scope.
der::Bytes crl(bool lists, const der::Bytes& scope = "", int from = 10, int until = 30) {
  const auto date = [](int day) { return utcTime("2501" + std::to_string(day) + "000000Z"); };
  CrlFields fields;
  fields.revoked = lists ? sequence(entry("\x01", sequence(reason(6)))) : der::Bytes();
  fields.thisUpdate = date(from);
  fields.nextUpdate = until == 0 ? "" : date(until);
  if (!scope.empty()) {
    fields.extensions = context(0, sequence(critical("2.5.29.28", sequence(scope))));
  }
  return fields.der();
}
der::Bytes forged(der::Bytes crl, const char* signature = "Signed") {
  return crl.replace(crl.rfind("signed"), 6, signature);
}
der::Bytes criticalCrl(bool lists, const char* id) {
  CrlFields fields;
  fields.revoked = lists ? sequence(entry("\x01")) : der::Bytes();
  fields.extensions = context(0, sequence(critical(id, integer("\x01"))));
  return fields.der();
}

std::string judge(const Certificate& certificate, bool isCa, const std::vector<der::Bytes>& ders,
                  int* asked = nullptr) {
  std::vector<Crl> crls;
  for (const der::Bytes& der : ders) crls.push_back(*parseCrl(der));
  const std::string issuer = *certificate.issuer().folded();
  Signers signers;
  const RevocationAnswer answer =
      CrlIndex(crls).judge({certificate, issuer, isCa}, january(20), signers);
  if (asked != nullptr) *asked = signers.asked;
  EXPECT_EQ(answer.entry.has_value(), answer.state == RevocationState::revoked);
  constexpr const char* kStates[] = {"good", "revoked", "no CRL", "unknown", "not revocable"};
  return kStates[static_cast<int>(answer.state)];
}

// Dates, scopes and reasons one by one are rows of rows.py, which a naive checker judges as well.
TEST(Revocation, IsJudgedByCrlsThatHoldAndAreAboutTheCertificate) {
  const auto full = [](const der::Bytes& name) { return context(0, context(0, name)); };
  const auto points = [](const der::Bytes& list) {
    return extension("2.5.29.31", octets(sequence(list)));
  };
  const der::Bytes a = primitive(6, "a"), b = primitive(6, "b");
  const der::Bytes dns = primitive(2, "x.test"), upperDns = primitive(2, "X.test");
  const der::Bytes relative = attribute("2.5.4.3", printable("Part"));
  const auto rdns = [](const char* name) {
    return set(attribute("2.5.4.6", printable("US"))) + set(attribute("2.5.4.10", utf8("acme"))) +
           set(attribute("2.5.4.3", utf8(name)));
  };
  const der::Bytes issuer = context(4, sequence(rdns("ROOT")));
  const der::Bytes below =
      context(4, sequence(rdns("root"), set(attribute("2.5.4.3", utf8("part")))));
  const auto reasons = [](unsigned tag, bool isFirst) {
    return primitive(tag, isFirst ? std::string_view("\6\x40", 2) : "\7\x3F\x80");
  };
  const der::Bytes users = primitive(1, "\xFF"), cas = primitive(2, "\xFF");
  const der::Bytes attributes = primitive(5, "\xFF");
  const der::Bytes noRevAvail = extension("2.5.29.56", octets(null()));
  const der::Bytes ocsp =
      extension("1.3.6.1.5.5.7.1.1", octets(sequence(sequence(der::oid("1.3.6.1.5.5.7.48.1"), a))));
  const der::Bytes other = crlWith(&CrlFields::issuer, sequence());
  const struct {
    der::Bytes extensions;  // of the certificate; "ca" of none, for a CA
    std::vector<der::Bytes> crls;
    const char* expected;
  } rows[] = {
      {"", {}, "no CRL"},
      {"", {other}, "no CRL"},
      {"", {CrlFields().der()}, "good"},  // which lists another
      {"", {crl(false)}, "good"},
      {"", {crl(true)}, "revoked"},
      {"", {forged(crl(false))}, "unknown"},
      {"", {forged(crl(true)), crl(false)}, "good"},
      // What lists it may be signed for all that was found out.
      {"", {forged(crl(true, "", 11), "Unsure"), crl(false)}, "unknown"},
      {"", {forged(crl(false, "", 11), "Unsure"), crl(false)}, "good"},
      // No more is looked at than may be: a scope of 17,000 octets is as dear as 1,000 CRLs.
      {"", {crl(false), crl(false, full(primitive(6, std::string(15'000, 'x'))))}, "good"},
      {"", {crl(false), crl(false, full(primitive(6, std::string(17'000, 'x'))))}, "unknown"},
      // The newest of those whose time it is.
      {"", {crl(true), crl(false, "", 11)}, "good"},
      {"", {crl(false), crl(true, "", 11)}, "revoked"},
      {"", {crl(false), crl(true)}, "revoked"},
      {"", {crl(false), forged(crl(true, "", 11))}, "good"},
      {"", {crl(false), crl(true, "", 21)}, "good"},
      {"", {crl(false), crl(true, users)}, "revoked"},
      // What may not vouch revokes all the same.
      {"", {criticalCrl(false, "1.2.3")}, "unknown"},
      {"", {criticalCrl(false, "1.2.3"), crl(false)}, "good"},
      {"", {criticalCrl(true, "1.2.3"), crl(false)}, "revoked"},
      {"", {forged(criticalCrl(true, "1.2.3")), crl(false)}, "good"},
      // Scopes.
      {"ca", {crl(true, users)}, "revoked"},  // what it is not about and lists
      {"ca", {crl(true, cas)}, "revoked"},
      {"", {crl(true, primitive(4, "\xFF")), crl(false)}, "revoked"},
      {"", {crl(true, primitive(4, "\xFF") + attributes), crl(false)}, "good"},
      // Names of points, those of the issuer among them.
      {points(sequence(full(a))), {crl(false, full(a))}, "good"},
      {points(sequence(full(a))), {crl(false, full(b))}, "unknown"},
      {points(sequence(full(a))), {crl(true, full(b))}, "revoked"},
      {points(sequence(full(a)) + sequence(full(b))), {crl(true, full(b))}, "revoked"},
      {points(sequence(full(a + dns))), {crl(false, full(b + upperDns))}, "good"},
      {points(sequence(full(a))), {crl(false, full(issuer))}, "good"},
      {points(sequence(full(a))), {crl(false, full(below))}, "unknown"},
      {points(sequence(context(0, context(1, relative)))), {crl(false, full(below))}, "good"},
      {points(sequence(full(below))), {crl(false, context(0, context(1, relative)))}, "good"},
      {points(sequence(full(a), context(2, issuer))), {crl(false, full(a))}, "unknown"},
      {points(""), {crl(false)}, "unknown"},  // malformed
      {points(""), {crl(true)}, "revoked"},
      // Reasons, until all are there.
      {"", {crl(true, reasons(3, true))}, "revoked"},
      {"", {crl(false, reasons(3, true)), crl(false, reasons(3, false))}, "good"},
      {"", {crl(false, reasons(3, true)), forged(crl(false, reasons(3, false)))}, "unknown"},
      {"", {crl(false, reasons(3, true)), crl(true, reasons(3, false))}, "revoked"},
      {points(sequence(full(a), reasons(1, true))), {crl(false)}, "good"},
      {points(sequence(full(a), reasons(1, true))), {crl(false, full(a))}, "unknown"},
      {points(sequence(full(a), reasons(1, true)) + sequence(full(b), reasons(1, false))),
       {crl(false, full(a)), crl(false, full(b))},
       "good"},
      {points(sequence(full(a), reasons(1, true)) + sequence(full(a), reasons(1, false))),
       {crl(false, full(a))},
       "good"},
      // RFC 9608.
      {noRevAvail, {}, "not revocable"},
      {noRevAvail + points(sequence(full(a))), {}, "no CRL"},
      {noRevAvail + ocsp, {}, "no CRL"},
      {"ca" + noRevAvail, {}, "no CRL"},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    const bool isCa = rows[i].extensions.starts_with("ca");
    const der::Bytes extensions = rows[i].extensions.substr(isCa ? 2 : 0);
    const Certificate certificate =
        parsed(extensions.empty() ? der::Certificate().der() : withExtensions(extensions));
    std::vector<der::Bytes> crls = rows[i].crls;
    EXPECT_EQ(judge(certificate, isCa, crls), rows[i].expected) << i;
    std::reverse(crls.begin(), crls.end());
    EXPECT_EQ(judge(certificate, isCa, crls), rows[i].expected) << i << ", the other way round";
  }
}

TEST(Revocation, ComputesNoSignatureThatChangesNothing) {
  const Certificate certificate = parsed(der::Certificate().der());
  const der::Bytes users = primitive(1, "\xFF");
  int asked = 0;
  judge(certificate, false, {crl(false), crl(false, "", 11), crl(false, users)}, &asked);
  EXPECT_EQ(asked, 1);
  judge(certificate, false, {crl(false), crl(false), crl(true, users)}, &asked);
  EXPECT_EQ(asked, 2);
}

}  // namespace
}  // namespace velmora::test
