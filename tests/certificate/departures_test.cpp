#include <map>
#include <set>

#include "tests/certificate/typed_test.h"
#include "velmora/certificate/internal/extension_reader.h"

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
const Bytes kFalse = boolean(false);
const Bytes kTrue = boolean(true);

Bytes extension(const char* id, const Bytes& value, const Bytes& critical = "") {
  return sequence(der::oid(id), critical, octets(value));
}

Bytes rsaKey(const Bytes& modulus, const Bytes& parameters = null(), char unused = 0) {
  const Bytes numbers = sequence(integer(modulus), integer("\3"));
  return sequence(sequence(der::oid("1.2.840.113549.1.1.1"), parameters), bits(numbers, unused));
}

Bytes ecKey(const Bytes& curve, const Bytes& point) {
  return sequence(sequence(der::oid("1.2.840.10045.2.1"), curve), bits(point));
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
    if (!list.empty()) whole.extensions += listOf(members);
    return parsed(whole.der());
  }
};

// Two certificates to the letter.
const Made& leaf() {
  static const Made made = [] {
    Made clean;
    clean.outerAlgorithm = clean.signatureAlgorithm;
    clean.publicKey = rsaKey(kModulus);
    return clean.with(kSki, octets("ours"))
        .with(kAki, sequence(primitive(0, "theirs")))
        .with(kUsage, bits("\x80", 7), kTrue);
  }();
  return made;
}
const Made& ca() {
  static const Made made =
      leaf().with(kUsage, bits("\x06", 1), kTrue).with(kBasic, sequence(kTrue), kTrue);
  return made;
}

Bytes dns(std::string_view name) {
  return primitive(2, name);
}
Bytes subtree(const Bytes& more) {
  return sequence(context(0, sequence(dns("example.org"), more)));
}
Bytes policy(const char* id) {
  return sequence(der::oid(id));
}
Bytes mapping(const char* from, const char* to) {
  return sequence(sequence(der::oid(from), der::oid(to)));
}
Bytes rdn(const Bytes& value) {
  return attribute("2.5.4.3", value);
}
Bytes named(const Bytes& value) {
  return sequence(set(rdn(value)));
}
Bytes dates(const Bytes& from, const Bytes& until) {
  return sequence(from, until);
}
Bytes pssParameters(const Bytes& more) {
  const Bytes hash = algorithm("2.16.840.1.101.3.4.2.1");
  const Bytes mask = sequence(der::oid("1.2.840.113549.1.1.8"), hash);
  return sequence(context(0, hash), context(1, mask), more);
}

// A certificate that departs in one thing, and one that differs in that alone and does not.
struct Row {
  const char* code;
  Bytes at;  // where: octets of the certificate
  Made bad;
  Made good;
  const char* about = "";
};

// One field or extension of the leaf is at fault, all of it unless `at` says more closely where; a
// field without a twin has that of the leaf.
Row field(const char* code, Bytes Parts::*field, const Bytes& bad, const Bytes& good = "",
          const Bytes& at = "", const char* about = "") {
  return {code, at.empty() ? bad : at, leaf().with(field, bad),
          good.empty() ? leaf() : leaf().with(field, good), about};
}
Row value(const char* code, const char* id, const Bytes& bad, const Bytes& good,
          const Bytes& at = "", const Bytes& critical = "") {
  return {code, at.empty() ? bad : at, leaf().with(id, bad, critical),
          leaf().with(id, good, critical), id};
}

std::vector<Row> encodings() {
  const Bytes wide = element(0x04, "x");
  const Bytes longLength = "\x04\x81\x01x"s;
  const Bytes segments = element(0x24, octets("x"));
  const Bytes endless = "\x30\x80"s + dns("a") + "\0\0"s;
  const Bytes longTag = "\x9F\x02\x01x"s;
  const Bytes odd = element(0x01, "\x01");
  const Bytes reasons = context(0, context(0, dns("a")));
  const auto point = [&](const Bytes& bits) {
    return sequence(sequence(reasons, primitive(1, bits)));
  };
  const auto key = [](const Bytes& length) {
    return sequence(algorithm("1.2.840.113549.1.1.1"),
                    bits("\x30" + length + "\x09\x02\x04\x01\x02\x03\x05\x02\x01\x03"s));
  };
  const auto ids = [](const Bytes& a, const Bytes& b) { return sequence(set(a, b)); };
  const Bytes first = rdn(utf8("a")), second = rdn(utf8("b"));
  const auto deep = [](Bytes inside) {  // more than is usual
    for (int i = 0; i < 16; ++i) inside = sequence(inside);
    return sequence(context(0, der::oid("1.2.3") + context(0, inside)));
  };
  const Bytes version = context(0, integer("\0\2"s));
  const Bytes paddedOid = element(0x06, "\x2A\x80\x03"s), oid = element(0x06, "\x2A\3"s);
  return {
      value("lengthNotShortest", kSki, longLength, wide),
      value("lengthNotShortest", kSan, endless, sequence(dns("a"))),
      field("lengthNotShortest", &Parts::publicKey, key("\x81"), key(""), "\x30\x81\x09"s),
      value("identifierNotShortest", kSan, sequence(longTag), sequence(dns("x")), longTag),
      value("stringInSegments", kSki, segments, wide),
      {"booleanNotDer", odd, ca().with(kBasic, sequence(odd), kTrue), ca(), kBasic},
      {"booleanNotDer", odd, ca().with(kBasic, sequence(kTrue), odd), ca(), kBasic},
      value("defaultEncoded", kBasic, sequence(kFalse), sequence(), kFalse),
      {"defaultEncoded", kFalse, leaf().with(kBasic, sequence(), kFalse),
       leaf().with(kBasic, sequence()), kBasic},
      {"defaultEncoded", primitive(0, "\0"s),
       ca().with(kNames, subtree(primitive(0, "\0"s)), kTrue),
       ca().with(kNames, subtree(""), kTrue), kNames},
      field("integerPadded", &Parts::version, version, "", integer("\0\2"s)),
      value("integerPadded", kAki,
            sequence(primitive(0, "x"), context(1, dns("a")), primitive(2, "\0\1"s)),
            sequence(primitive(0, "x"), context(1, dns("a")), primitive(2, "\1")),
            primitive(2, "\0\1"s)),
      field("integerPadded", &Parts::serial, integer("\0\1"s)),
      field("integerPadded", &Parts::publicKey, rsaKey("\0"s + kModulus), "",
            integer("\0"s + kModulus)),
      {"unusedBitsSet", bits("\x81", 7), leaf().with(kUsage, bits("\x81", 7), kTrue), leaf(),
       kUsage},
      {"trailingZeroBits", bits("\x80", 0), leaf().with(kUsage, bits("\x80", 0), kTrue), leaf(),
       kUsage},
      value("trailingZeroBits", kPoints, point("\4\x40"), point("\6\x40"), primitive(1, "\4\x40")),
      field("setNotSorted", &Parts::subject, ids(second, first), ids(first, second), first),
      value("setNotSorted", kSan, deep(set(second, first)), deep(set(first, second)), first),
      {"contentMalformed", paddedOid, leaf().behind(sequence(paddedOid, octets("x"))),
       leaf().behind(sequence(oid, octets("x")))},
      field("contentMalformed", &Parts::serial, integer("")),
  };
}

std::vector<Row> fields() {
  const auto issuerEmpty = leaf().with(&Parts::issuer, sequence());
  const auto version = [](char number) { return context(0, integer({&number, 1})); };
  const auto old = [&](const Bytes& which, const Bytes& ids) {
    Made made = leaf().with(&Parts::version, which).with(&Parts::extensions, ids);
    made.list.clear();
    return made;
  };
  const Bytes from = utcTime("200101000000Z"), until = utcTime("491231235959Z");
  const auto date = [&](const char* code, const Bytes& bad, const Bytes& good) {
    return field(code, &Parts::validity, dates(from, bad), dates(from, good), bad);
  };
  const auto cn = [](const char* code, const Bytes& bad, const Bytes& good) {
    return field(code, &Parts::subject, named(bad), named(good), bad, "2.5.4.3");
  };
  const Bytes ecdsa = "1.2.840.10045.4.3.2", id = primitive(1, "\0x"s);
  const Bytes salt = context(2, integer("\x20"));
  const Bytes trailer = context(3, integer("\1"));
  const auto pss = [](const Bytes& parameters) {
    return leaf().signedAs(sequence(der::oid(kPss), parameters));
  };
  const Bytes san = sequence(dns("a"));
  const Bytes nobody = sequence();
  const auto subject = [](const Bytes& name) { return leaf().with(&Parts::subject, name); };
  const Bytes ed25519 = der::oid("1.3.101.112");
  const Bytes primeField =
      sequence(integer("\1"), sequence(der::oid("1.2.840.10045.1.1"), integer("\0\xFF"s)));
  const Bytes explicitCurve = sequence(der::oid("1.2.840.10045.2.1"), primeField);
  const Bytes p256 = der::oid("1.2.840.10045.3.1.7"), coordinates(64, 'x');
  const Bytes point = "\4" + coordinates;
  return {
      field("versionUnknown", &Parts::version, version(3)),
      field("versionUnknown", &Parts::version, version('\xFF')),
      field("versionUnknown", &Parts::version, context(0, utf8("3"))),
      {"versionOneEncoded", version(0), old(version(0), ""), old("", "")},
      {"extensionsInOldVersion", context(3, sequence(leaf().list.at(kSki))),
       old(version(1), context(3, sequence(leaf().list.at(kSki)))), old(version(1), "")},
      {"uniqueIdInVersionOne", id, old("", id), old("", "")},
      {"uniqueIdentifier", id, old(version(1), id), old(version(1), "")},
      field("serialZero", &Parts::serial, integer("\0"s)),
      field("serialNegative", &Parts::serial, integer("\x80"), integer("\0\x80"s)),
      field("serialTooLong", &Parts::serial, integer(Bytes(21, 'x')), integer(Bytes(20, 'x'))),
      field("signatureAlgorithmsDiffer", &Parts::outerAlgorithm,
            algorithm("1.2.840.113549.1.1.12")),
      {"signatureParameters", null() + leaf().issuer, leaf().signedAs(algorithm(ecdsa)),
       leaf().signedAs(sequence(der::oid(ecdsa)))},
      {"signatureParameters", null() + leaf().issuer, pss(null()), pss(pssParameters(salt))},
      {"defaultEncoded", trailer + leaf().issuer, pss(pssParameters(salt + trailer)),
       pss(pssParameters(salt))},
      {"rsaNullAbsent", sequence(der::oid(kRsaSha256)) + leaf().issuer,
       leaf().signedAs(sequence(der::oid(kRsaSha256))), leaf()},
      field("rsaNullAbsent", &Parts::publicKey, rsaKey(kModulus, ""), "",
            sequence(der::oid("1.2.840.113549.1.1.1"))),
      field("signatureNotOctets", &Parts::signature, bits("x\x10", 4), bits("x\x10", 0)),
      {"issuerEmpty", nobody, issuerEmpty, leaf()},
      field("subjectEmpty", &Parts::subject, nobody),
      {"subjectEmpty", nobody, subject(nobody).with(kSan, san),
       subject(nobody).with(kSan, san, kTrue)},
      {"subjectEmpty", nobody, ca().with(&Parts::subject, nobody).with(kSan, san, kTrue),
       ca().with(kSan, san, kTrue)},
      field("nameMalformed", &Parts::subject, sequence(set()), "", set()),
      cn("nameTextMalformed", utf8("\xFF"), utf8("\xC3\xBF")),
      cn("nameCharacters", printable("a@b"), ia5("a@b")),
      date("dateForm", generalizedTime("20491231235959Z"), generalizedTime("20500101000000Z")),
      date("dateNotDer", utcTime("4912312359Z"), until),
      date("dateNotDer", utcTime("491231235959+0100"), until),
      date("dateNotDer", generalizedTime("20500101000000.5Z"), until),
      date("dateMalformed", utcTime("210229000000Z"), utcTime("200229000000Z")),
      field("validityBackwards", &Parts::validity, dates(until, from), dates(from, from)),
      field("keyMalformed", &Parts::publicKey,
            sequence(sequence(ed25519, null()), bits(Bytes(32, 'x'))),
            sequence(sequence(ed25519), bits(Bytes(32, 'x'))), null() + bits(Bytes(32, 'x'))),
      field("keyMalformed", &Parts::publicKey, ecKey(p256, "\4xyz"), ecKey(p256, point),
            bits("\4xyz")),
      field("keyMalformed", &Parts::publicKey, ecKey(p256, "\6" + coordinates), ecKey(p256, point),
            bits("\6" + coordinates)),
      field("curveNotNamed", &Parts::publicKey, sequence(explicitCurve, bits("\4xy")),
            ecKey(p256, "\2" + std::string(32, 'x')), explicitCurve),
  };
}

std::vector<Row> extensions() {
  const auto repeated = leaf().list.at(kSki);
  const Bytes san = sequence(dns("a"));
  const Bytes badIp = primitive(7, "12345");
  const Bytes limits = sequence(primitive(0, "\0"s));
  const Bytes names = subtree("");
  const auto whole = [](const Made& made, const char* id) { return made.list.at(id); };
  const auto row = [&](const char* code, const char* id, const Made& bad, const Made& good) {
    return Row{code, whole(bad, id), bad, good, id};
  };
  const auto aki = [](const Bytes& members) { return leaf().with(kAki, sequence(members)); };
  const Bytes keyId = primitive(0, "x"), issuer = context(1, dns("a"));
  const Bytes pathLength = sequence(kTrue, integer("\1"));
  const auto missing = [](const char* code, const char* id, const Made& good) {
    // What is missing is missing in all of tbsCertificate, which starts behind the outer header.
    return Row{code, "", good.without(id), good, id};
  };
  const Made selfIssued = leaf().with(&Parts::subject, leaf().issuer).without(kAki);
  Made emptyList = selfIssued.with(&Parts::extensions, context(3, sequence()));
  emptyList.list.clear();
  return {
      {"extensionListMalformed", utf8("no extension"), leaf().behind(utf8("no extension")), leaf()},
      {"extensionListMalformed", sequence(), emptyList, selfIssued},
      {"extensionRepeated", repeated, leaf().without(kSki).behind(repeated + repeated), leaf(),
       kSki},
      value("extensionMalformed", kPurposes, octets(""), sequence(der::oid("1.2.3"))),
      value("nameTextMalformed", kSan, sequence(context(4, named(utf8("\xFF")))),
            sequence(context(4, named(utf8("\xC3\xBF")))), utf8("\xFF")),
      value("generalNameMalformed", kSan, sequence(badIp), sequence(primitive(7, "1234")), badIp),
      row("criticalityWrong", kSki, leaf().with(kSki, octets("x"), kTrue), leaf()),
      row("criticalityWrong", kLimits, ca().with(kLimits, limits),
          ca().with(kLimits, limits, kTrue)),
      row("criticalityWrong", kBasic, ca().with(kBasic, sequence(kTrue)),
          ca().with(kBasic, sequence(kTrue)).with(kUsage, bits("\x02", 1), kTrue)),
      row("pathLengthWithoutCa", kBasic, leaf().with(kBasic, sequence(integer("\1")), kTrue),
          leaf().with(kBasic, sequence(), kTrue)),
      row("pathLengthWithoutCa", kBasic,
          ca().with(kBasic, pathLength, kTrue).with(kUsage, bits("\x02", 1), kTrue),
          ca().with(kBasic, pathLength, kTrue)),
      row("certSignWithoutCa", kUsage, leaf().with(kUsage, bits("\x04", 2), kTrue),
          ca().with(kUsage, bits("\x04", 2), kTrue)),
      row("keyUsageEmpty", kUsage, leaf().with(kUsage, bits(""), kTrue), leaf()),
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
      row("constraintsWithoutCa", kInhibit, leaf().with(kInhibit, integer("\1"), kTrue),
          ca().with(kInhibit, integer("\1"), kTrue)),
      row("policyRepeated", kPolicies,
          leaf().with(kPolicies, sequence(policy("1.2.3"), policy("1.2.4"), policy("1.2.3"))),
          leaf().with(kPolicies, sequence(policy("1.2.3"), policy("1.2.4")))),
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
  const std::string text = fileContent(VELMORA_SOURCE_DIR "/docs/departures.md");
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
  const Bytes repeated = extension(kSan, sequence(primitive(2, "\xFF")), kFalse);
  Bytes different;
  for (size_t i = 0; i < kMany; ++i) {
    different += sequence(der::oid("1.2.3." + std::to_string(i)), octets(""));
  }
  Bytes names, same;
  for (size_t i = 0; i < kMany; ++i) same += repeated;
  for (size_t i = 0; i < ExtensionReader::kMaxMembers; ++i) names += primitive(2, "\xFF");
  const struct {
    Made made;
    std::set<std::string> codes;
  } rows[] = {
      {leaf().behind(same), {"extensionRepeated", "defaultEncoded"}},
      {leaf().behind(different), {}},
      {leaf().with(kSan, sequence(names)), {"generalNameMalformed"}},
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
  for (const std::string& der : certificatesIn("/etc/ssl/certs/ca-certificates.crt")) {
    const Result<Certificate> root = Certificate::parse(der);
    ASSERT_TRUE(root);
    for (const Departure& it : root->departures()) EXPECT_TRUE(it.mayDecide()) << it.id();
    EXPECT_TRUE(!root->isSelfIssued() || root->signedBy(*root) == SignatureVerdict::good);
  }
}

}  // namespace
}  // namespace velmora::test
