#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "tests/certificate/typed_test.h"
#include "velmora/reading/certificate_reader.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;
using der::Bytes;
using Parts = der::Certificate;

constexpr const char *kSki = "2.5.29.14", *kUsage = "2.5.29.15", *kSan = "2.5.29.17",
                     *kBasic = "2.5.29.19", *kNames = "2.5.29.30", *kPoints = "2.5.29.31",
                     *kPolicies = "2.5.29.32", *kMappings = "2.5.29.33", *kAki = "2.5.29.35",
                     *kLimits = "2.5.29.36", *kPurposes = "2.5.29.37", *kInhibit = "2.5.29.54";
constexpr const char* kRsaSha256 = "1.2.840.113549.1.1.11";
constexpr const char* kPss = "1.2.840.113549.1.1.10";
const Bytes kModulus = "\x00\xC1"s + std::string(127, '\x55');
const Bytes kFalse = der::boolean(false);
const Bytes kTrue = der::boolean(true);

Bytes extension(const char* id, const Bytes& value, const Bytes& critical = "") {
  return der::sequence(der::oid(id), critical, der::octets(value));
}

Bytes rsaKey(const Bytes& modulus, const Bytes& parameters = der::null(), char unused = 0) {
  const Bytes numbers = der::sequence(der::integer(modulus), der::integer("\3"));
  return der::sequence(der::sequence(der::oid("1.2.840.113549.1.1.1"), parameters),
                       der::bits(numbers, unused));
}

Bytes ecKey(const Bytes& curve, const Bytes& point) {
  return der::sequence(der::sequence(der::oid("1.2.840.10045.2.1"), curve), der::bits(point));
}

// A certificate in its parts, with a list of extensions by their OIDs.
struct Made : Parts {
  std::map<std::string, Bytes> list;

  Made with(Bytes Parts::*field, const Bytes& value) const {
    Made changed = *this;
    changed.*field = value;
    return changed;
  }
  // The extension, in place of the one of that OID.
  Made with(const char* id, const Bytes& value, const Bytes& critical = "") const {
    Made changed = *this;
    changed.list[id] = extension(id, value, critical);
    return changed;
  }
  Made without(const char* id) const {
    Made changed = *this;
    changed.list.erase(id);
    return changed;
  }
  // Some more octets at the end of the list.
  Made behind(const Bytes& more) const {
    Made changed = *this;
    changed.list["9"] += more;
    return changed;
  }
  Made signedAs(const Bytes& algorithm) const {
    return with(&Parts::signatureAlgorithm, algorithm).with(&Parts::outerAlgorithm, algorithm);
  }
  velmora::Certificate certificate() const {
    Parts whole = *this;
    Bytes members;
    for (const auto& [id, octets] : list) members += octets;
    if (!list.empty()) whole.extensions += der::context(3, der::sequence(members));
    return parsed(whole.der());
  }
};

// Two certificates to the letter.
const Made& leaf() {
  static const Made made = [] {
    Made clean;
    clean.outerAlgorithm = clean.signatureAlgorithm;
    clean.publicKey = rsaKey(kModulus);
    return clean.with(kSki, der::octets("ours"))
        .with(kAki, der::sequence(primitive(0, "theirs")))
        .with(kUsage, der::bits("\x80", 7), kTrue);
  }();
  return made;
}
const Made& ca() {
  static const Made made =
      leaf().with(kUsage, der::bits("\x06", 1), kTrue).with(kBasic, der::sequence(kTrue), kTrue);
  return made;
}

Bytes dns(std::string_view name) {
  return primitive(2, name);
}
Bytes subtree(const Bytes& more) {
  return der::sequence(der::context(0, der::sequence(dns("example.org"), more)));
}
Bytes policy(const char* id) {
  return der::sequence(der::oid(id));
}
Bytes mapping(const char* from, const char* to) {
  return der::sequence(der::sequence(der::oid(from), der::oid(to)));
}
Bytes rdn(const Bytes& value) {
  return der::attribute("2.5.4.3", value);
}
Bytes named(const Bytes& value) {
  return der::sequence(der::set(rdn(value)));
}
Bytes dates(const Bytes& from, const Bytes& until) {
  return der::sequence(from, until);
}
Bytes pssParameters(const Bytes& more) {
  const Bytes hash = der::algorithm("2.16.840.1.101.3.4.2.1");
  const Bytes mask = der::sequence(der::oid("1.2.840.113549.1.1.8"), hash);
  return der::sequence(der::context(0, hash), der::context(1, mask), more);
}

// A certificate that departs in one thing, and one that differs in that alone and does not.
struct Row {
  const char* code;
  Bytes at;  // where: octets of the certificate
  Made bad;
  Made good;
  const char* about = "";
};

std::vector<Row> encodings() {
  const Bytes wide = der::element(0x04, "x");
  const Bytes longLength = "\x04\x81\x01x"s;
  const Bytes segments = der::element(0x24, der::octets("x"));
  const Bytes endless = "\x30\x80"s + dns("a") + "\0\0"s;
  const Bytes longTag = "\x9F\x02\x01x"s;
  const Bytes odd = der::element(0x01, "\x01");
  const Bytes reasons = der::context(0, der::context(0, dns("a")));
  const auto point = [&](const Bytes& bits) {
    return der::sequence(der::sequence(reasons, primitive(1, bits)));
  };
  const auto key = [](const Bytes& length) {
    return der::sequence(der::algorithm("1.2.840.113549.1.1.1"),
                         der::bits("\x30" + length + "\x09\x02\x04\x01\x02\x03\x05\x02\x01\x03"s));
  };
  const auto ids = [](const Bytes& a, const Bytes& b) { return der::sequence(der::set(a, b)); };
  const Bytes first = rdn(der::utf8("a")), second = rdn(der::utf8("b"));
  const Bytes version = der::context(0, der::integer("\0\2"s));
  const Bytes paddedOid = der::element(0x06, "\x2A\x80\x03"s), oid = der::element(0x06, "\x2A\3"s);
  return {
      {"lengthNotShortest", longLength, leaf().with(kSki, longLength), leaf().with(kSki, wide),
       kSki},
      {"lengthNotShortest", endless, leaf().with(kSan, endless),
       leaf().with(kSan, der::sequence(dns("a"))), kSan},
      {"lengthNotShortest", "\x30\x81\x09"s, leaf().with(&Parts::publicKey, key("\x81")),
       leaf().with(&Parts::publicKey, key(""))},
      {"identifierNotShortest", longTag, leaf().with(kSan, der::sequence(longTag)),
       leaf().with(kSan, der::sequence(dns("x"))), kSan},
      {"stringInSegments", segments, leaf().with(kSki, segments), leaf().with(kSki, wide), kSki},
      {"booleanNotDer", odd, ca().with(kBasic, der::sequence(odd), kTrue), ca(), kBasic},
      {"booleanNotDer", odd, ca().with(kBasic, der::sequence(kTrue), odd), ca(), kBasic},
      {"defaultEncoded", kFalse, leaf().with(kBasic, der::sequence(kFalse)),
       leaf().with(kBasic, der::sequence()), kBasic},
      {"defaultEncoded", kFalse, leaf().with(kBasic, der::sequence(), kFalse),
       leaf().with(kBasic, der::sequence()), kBasic},
      {"defaultEncoded", primitive(0, "\0"s),
       ca().with(kNames, subtree(primitive(0, "\0"s)), kTrue),
       ca().with(kNames, subtree(""), kTrue), kNames},
      {"integerPadded", der::integer("\0\2"s), leaf().with(&Parts::version, version), leaf()},
      {"integerPadded", primitive(2, "\0\1"s),
       leaf().with(kAki, der::sequence(primitive(0, "x"), der::context(1, dns("a")),
                                       primitive(2, "\0\1"s))),
       leaf().with(kAki,
                   der::sequence(primitive(0, "x"), der::context(1, dns("a")), primitive(2, "\1"))),
       kAki},
      {"integerPadded", der::integer("\0\1"s), leaf().with(&Parts::serial, der::integer("\0\1"s)),
       leaf()},
      {"integerPadded", der::integer("\0"s + kModulus),
       leaf().with(&Parts::publicKey, rsaKey("\0"s + kModulus)), leaf()},
      {"unusedBitsSet", der::bits("\x81", 7), leaf().with(kUsage, der::bits("\x81", 7), kTrue),
       leaf(), kUsage},
      {"trailingZeroBits", der::bits("\x80", 0), leaf().with(kUsage, der::bits("\x80", 0), kTrue),
       leaf(), kUsage},
      {"trailingZeroBits", primitive(1, "\4\x40"), leaf().with(kPoints, point("\4\x40")),
       leaf().with(kPoints, point("\6\x40")), kPoints},
      {"setNotSorted", first, leaf().with(&Parts::subject, ids(second, first)),
       leaf().with(&Parts::subject, ids(first, second))},
      {"contentMalformed", paddedOid, leaf().behind(der::sequence(paddedOid, der::octets("x"))),
       leaf().behind(der::sequence(oid, der::octets("x")))},
      {"contentMalformed", der::integer(""), leaf().with(&Parts::serial, der::integer("")), leaf()},
  };
}

std::vector<Row> fields() {
  const auto issuerEmpty = leaf().with(&Parts::issuer, der::sequence());
  const auto version = [](char number) { return der::context(0, der::integer({&number, 1})); };
  const auto old = [&](const Bytes& which, const Bytes& ids) {
    Made made = leaf().with(&Parts::version, which).with(&Parts::extensions, ids);
    made.list.clear();
    return made;
  };
  const auto dated = [](const Bytes& from, const Bytes& until) {
    return leaf().with(&Parts::validity, dates(from, until));
  };
  const Bytes from = der::utcTime("200101000000Z"), until = der::utcTime("491231235959Z");
  const auto serial = [](const Bytes& octets) {
    return leaf().with(&Parts::serial, der::integer(octets));
  };
  const Bytes ecdsa = "1.2.840.10045.4.3.2", id = primitive(1, "\0x"s);
  const Bytes salt = der::context(2, der::integer("\x20"));
  const Bytes trailer = der::context(3, der::integer("\1"));
  const auto pss = [](const Bytes& parameters) {
    return leaf().signedAs(der::sequence(der::oid(kPss), parameters));
  };
  const Bytes san = der::sequence(dns("a"));
  const Bytes nobody = der::sequence();
  const auto subject = [](const Bytes& name) { return leaf().with(&Parts::subject, name); };
  const Bytes ed25519 = der::oid("1.3.101.112");
  const Bytes primeField = der::sequence(
      der::integer("\1"), der::sequence(der::oid("1.2.840.10045.1.1"), der::integer("\0\xFF"s)));
  const Bytes explicitCurve = der::sequence(der::oid("1.2.840.10045.2.1"), primeField);
  const Bytes p256 = der::oid("1.2.840.10045.3.1.7"), coordinates(64, 'x');
  const Bytes point = "\4" + coordinates;
  return {
      {"versionUnknown", version(3), leaf().with(&Parts::version, version(3)), leaf()},
      {"versionUnknown", version(-1), leaf().with(&Parts::version, version(-1)), leaf()},
      {"versionUnknown", der::context(0, der::utf8("3")),
       leaf().with(&Parts::version, der::context(0, der::utf8("3"))), leaf()},
      {"versionOneEncoded", version(0), old(version(0), ""), old("", "")},
      {"extensionsInOldVersion", der::context(3, der::sequence(leaf().list.at(kSki))),
       old(version(1), der::context(3, der::sequence(leaf().list.at(kSki)))), old(version(1), "")},
      {"uniqueIdInVersionOne", id, old("", id), old("", "")},
      {"uniqueIdentifier", id, old(version(1), id), old(version(1), "")},
      {"serialZero", der::integer("\0"s), serial("\0"s), serial("\1")},
      {"serialNegative", der::integer("\x80"), serial("\x80"), serial("\0\x80"s)},
      {"serialTooLong", der::integer(Bytes(21, 'x')), serial(Bytes(21, 'x')),
       serial(Bytes(20, 'x'))},
      {"signatureAlgorithmsDiffer", der::algorithm("1.2.840.113549.1.1.12"),
       leaf().with(&Parts::outerAlgorithm, der::algorithm("1.2.840.113549.1.1.12")), leaf()},
      {"signatureParameters", der::null() + leaf().issuer, leaf().signedAs(der::algorithm(ecdsa)),
       leaf().signedAs(der::sequence(der::oid(ecdsa)))},
      {"signatureParameters", der::null() + leaf().issuer, pss(der::null()),
       pss(pssParameters(salt))},
      {"defaultEncoded", trailer + leaf().issuer, pss(pssParameters(salt + trailer)),
       pss(pssParameters(salt))},
      {"rsaNullAbsent", der::sequence(der::oid(kRsaSha256)) + leaf().issuer,
       leaf().signedAs(der::sequence(der::oid(kRsaSha256))), leaf()},
      {"rsaNullAbsent", der::sequence(der::oid("1.2.840.113549.1.1.1")),
       leaf().with(&Parts::publicKey, rsaKey(kModulus, "")), leaf()},
      {"signatureNotOctets", der::bits("x\x10", 4),
       leaf().with(&Parts::signature, der::bits("x\x10", 4)),
       leaf().with(&Parts::signature, der::bits("x\x10", 0))},
      {"issuerEmpty", nobody, issuerEmpty, leaf()},
      {"subjectEmpty", nobody, subject(nobody), leaf()},
      {"subjectEmpty", nobody, subject(nobody).with(kSan, san),
       subject(nobody).with(kSan, san, kTrue)},
      {"subjectEmpty", nobody, ca().with(&Parts::subject, nobody).with(kSan, san, kTrue),
       ca().with(kSan, san, kTrue)},
      {"nameMalformed", der::set(), subject(der::sequence(der::set())), leaf()},
      {"nameTextMalformed", der::utf8("\xFF"), subject(named(der::utf8("\xFF"))),
       subject(named(der::utf8("\xC3\xBF"))), "2.5.4.3"},
      {"nameCharacters", der::printable("a@b"), subject(named(der::printable("a@b"))),
       subject(named(der::ia5("a@b"))), "2.5.4.3"},
      {"dateForm", der::generalizedTime("20491231235959Z"),
       dated(from, der::generalizedTime("20491231235959Z")),
       dated(from, der::generalizedTime("20500101000000Z"))},
      {"dateForm", der::utcTime("2001010000Z"), dated(der::utcTime("2001010000Z"), until), leaf()},
      {"dateForm", der::utcTime("200101000000+0100"),
       dated(der::utcTime("200101000000+0100"), until), leaf()},
      {"dateForm", der::generalizedTime("20500101000000.5Z"),
       dated(from, der::generalizedTime("20500101000000.5Z")), leaf()},
      {"dateMalformed", der::utcTime("210229000000Z"), dated(from, der::utcTime("210229000000Z")),
       dated(from, der::utcTime("200229000000Z"))},
      {"validityBackwards", dates(until, from), dated(until, from), dated(from, from)},
      {"keyMalformed", der::null() + der::bits(Bytes(32, 'x')),
       leaf().with(&Parts::publicKey,
                   der::sequence(der::sequence(ed25519, der::null()), der::bits(Bytes(32, 'x')))),
       leaf().with(&Parts::publicKey,
                   der::sequence(der::sequence(ed25519), der::bits(Bytes(32, 'x'))))},
      {"keyMalformed", der::bits("\4xyz"), leaf().with(&Parts::publicKey, ecKey(p256, "\4xyz")),
       leaf().with(&Parts::publicKey, ecKey(p256, point))},
      {"keyMalformed", der::bits("\6" + coordinates),
       leaf().with(&Parts::publicKey, ecKey(p256, "\6" + coordinates)),
       leaf().with(&Parts::publicKey, ecKey(p256, point))},
      {"curveNotNamed", explicitCurve,
       leaf().with(&Parts::publicKey, der::sequence(explicitCurve, der::bits("\4xy"))),
       leaf().with(&Parts::publicKey, ecKey(p256, "\2" + std::string(32, 'x')))},
  };
}

std::vector<Row> extensions() {
  const auto repeated = leaf().list.at(kSki);
  const Bytes san = der::sequence(dns("a"));
  const Bytes badIp = primitive(7, "12345");
  const Bytes limits = der::sequence(primitive(0, "\0"s));
  const Bytes names = subtree("");
  const auto whole = [](const Made& made, const char* id) { return made.list.at(id); };
  const auto row = [&](const char* code, const char* id, const Made& bad, const Made& good) {
    return Row{code, whole(bad, id), bad, good, id};
  };
  const auto aki = [](const Bytes& members) { return leaf().with(kAki, der::sequence(members)); };
  const Bytes keyId = primitive(0, "x"), issuer = der::context(1, dns("a"));
  const Bytes pathLength = der::sequence(kTrue, der::integer("\1"));
  const auto missing = [](const char* code, const char* id, const Made& good) {
    // What is missing is missing in all of tbsCertificate, which starts behind the outer header.
    return Row{code, "", good.without(id), good, id};
  };
  const Made selfIssued = leaf().with(&Parts::subject, leaf().issuer).without(kAki);
  Made emptyList = selfIssued.with(&Parts::extensions, der::context(3, der::sequence()));
  emptyList.list.clear();
  return {
      {"extensionListMalformed", der::utf8("no extension"),
       leaf().behind(der::utf8("no extension")), leaf()},
      {"extensionListMalformed", der::sequence(), emptyList, selfIssued},
      {"extensionRepeated", repeated, leaf().without(kSki).behind(repeated + repeated), leaf(),
       kSki},
      {"extensionMalformed", der::octets(""), leaf().with(kPurposes, der::octets("")),
       leaf().with(kPurposes, der::sequence(der::oid("1.2.3"))), kPurposes},
      {"generalNameMalformed", badIp, leaf().with(kSan, der::sequence(badIp)),
       leaf().with(kSan, der::sequence(primitive(7, "1234"))), kSan},
      row("criticalityWrong", kSki, leaf().with(kSki, der::octets("x"), kTrue), leaf()),
      row("criticalityWrong", kLimits, ca().with(kLimits, limits),
          ca().with(kLimits, limits, kTrue)),
      row("criticalityWrong", kBasic, ca().with(kBasic, der::sequence(kTrue)),
          ca().with(kBasic, der::sequence(kTrue)).with(kUsage, der::bits("\x02", 1), kTrue)),
      row("pathLengthWithoutCa", kBasic,
          leaf().with(kBasic, der::sequence(der::integer("\1")), kTrue),
          leaf().with(kBasic, der::sequence(), kTrue)),
      row("pathLengthWithoutCa", kBasic,
          ca().with(kBasic, pathLength, kTrue).with(kUsage, der::bits("\x02", 1), kTrue),
          ca().with(kBasic, pathLength, kTrue)),
      row("certSignWithoutCa", kUsage, leaf().with(kUsage, der::bits("\x04", 2), kTrue),
          ca().with(kUsage, der::bits("\x04", 2), kTrue)),
      row("keyUsageEmpty", kUsage, leaf().with(kUsage, der::bits(""), kTrue), leaf()),
      missing("caWithoutSubjectKeyId", kSki, ca()),
      missing("caWithoutKeyUsage", kUsage, ca()),
      missing("noAuthorityKeyId", kAki, leaf()),
      {"noAuthorityKeyId", "", leaf().without(kAki), selfIssued, kAki},
      row("noAuthorityKeyId", kAki, aki(issuer + primitive(2, "\1")),
          aki(keyId + issuer + primitive(2, "\1"))),
      row("authorityIssuerIncomplete", kAki, aki(keyId + issuer), aki(keyId)),
      row("authorityIssuerIncomplete", kAki, aki(keyId + primitive(2, "\1")), aki(keyId)),
      row("constraintsWithoutCa", kNames, leaf().with(kNames, names, kTrue),
          ca().with(kNames, names, kTrue)),
      row("constraintsWithoutCa", kInhibit, leaf().with(kInhibit, der::integer("\1"), kTrue),
          ca().with(kInhibit, der::integer("\1"), kTrue)),
      row("policyRepeated", kPolicies,
          leaf().with(kPolicies, der::sequence(policy("1.2.3"), policy("1.2.4"), policy("1.2.3"))),
          leaf().with(kPolicies, der::sequence(policy("1.2.3"), policy("1.2.4")))),
      row("anyPolicyMapped", kMappings, ca().with(kMappings, mapping("1.2.3", "2.5.29.32.0")),
          ca().with(kMappings, mapping("1.2.3", "1.2.4"))),
  };
}

// "code@offset about", one after the other.
std::string shown(const std::vector<Departure>& departures) {
  std::string text;
  for (const Departure& it : departures) {
    text += std::string(it.id()) + "@" + std::to_string(it.offset) + " " + it.about.text() + "\n";
  }
  return text;
}

TEST(Departures, AreFoundOneByOneAndNotInTheTwin) {
  std::set<std::string> tripped;
  for (const auto& rows : {encodings(), fields(), extensions()}) {
    for (const Row& row : rows) {
      SCOPED_TRACE(std::string(row.code) + " " + std::to_string(&row - rows.data()));
      tripped.insert(row.code);
      const velmora::Certificate certificate = row.bad.certificate();
      const uint32_t tbs =
          static_cast<uint32_t>(certificate.parts().tbs.data() - certificate.der().data());
      const std::string all = charactersOf(certificate.der());
      const size_t at = row.at.empty() ? tbs : all.rfind(row.at);
      EXPECT_EQ(shown(certificate.departures()),
                row.code + ("@" + std::to_string(at)) + " " + row.about + "\n");
      EXPECT_EQ(shown(row.good.certificate().departures()), "");
    }
  }
  EXPECT_EQ(tripped.size(), static_cast<size_t>(DepartureCode::anyPolicyMapped) + 1);
}

// What is said of each in docs/departures.md.
TEST(Departures, AreDocumented) {
  std::ifstream file(VELMORA_SOURCE_DIR "/docs/departures.md");
  const std::string text(std::istreambuf_iterator<char>(file), {});
  for (unsigned code = 0; code <= static_cast<unsigned>(DepartureCode::anyPolicyMapped); ++code) {
    const Departure it{static_cast<DepartureCode>(code), 0, {}};
    const std::string line = "\n| `" + std::string(it.id()) + "` | " + std::string(it.clause()) +
                             " | " + (it.mayDecide() ? "yes" : "no") + " | ";
    EXPECT_NE(text.find(line), text.npos) << line;
    EXPECT_TRUE(it.message().ends_with('.')) << it.id();
  }
}

// Of many of one kind in one place the first is told, and the work is that of one pass.
TEST(Departures, OfHostileCertificatesAreFew) {
  constexpr size_t kMany = 100'000;
  const Bytes repeated = extension(kSan, der::sequence(primitive(2, "\xFF")), kFalse);
  Bytes different;
  for (size_t i = 0; i < kMany; ++i) {
    different += der::sequence(der::oid("1.2.3." + std::to_string(i)), der::octets(""));
  }
  Bytes names, same;
  for (size_t i = 0; i < kMany; ++i) names += primitive(2, "\xFF"), same += repeated;
  const struct {
    Made made;
    std::set<std::string> codes;
  } rows[] = {
      {leaf().behind(same), {"extensionRepeated", "defaultEncoded"}},
      {leaf().behind(different), {}},
      {leaf().with(kSan, der::sequence(names)), {"generalNameMalformed"}},
  };
  for (const auto& row : rows) {
    const std::vector<Departure> departures = row.made.certificate().departures();
    std::set<std::string> codes;
    for (const Departure& it : departures) codes.insert(std::string(it.id()));
    EXPECT_EQ(codes, row.codes);
    EXPECT_EQ(departures.size(), row.codes.size());
  }
}

// What the roots of the system have is what the real world has: no decision may be refused to it.
TEST(Departures, OfTheSystemsRootsLeaveThemUsable) {
  std::ifstream file("/etc/ssl/certs/ca-certificates.crt", std::ios::binary);
  const std::string pem(std::istreambuf_iterator<char>(file), {});
  LogNull log;
  ExtPtrArray holders;
  readCertificates(pem, holders, log);
  for (int i = 0; i < holders.getSize(); ++i) {
    DataBuffer der;
    VelmoraX509Holder::getNthX509(holders, i)->getCertDer(der);
    const auto root = Certificate::parse(der.span());
    ASSERT_TRUE(root) << i;
    for (const Departure& it : root->departures()) EXPECT_TRUE(it.mayDecide()) << i << it.id();
    EXPECT_TRUE(!root->isSelfIssued() || root->signedBy(*root) == SignatureVerdict::good) << i;
  }
}

}  // namespace
}  // namespace velmora::test
