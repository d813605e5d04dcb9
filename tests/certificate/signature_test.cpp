
#include "tests/certificate/typed_test.h"
#include "tests/common/signed_cases.h"
#include "velmora/certificate/internal/octets.h"
#include "velmora/certificate/issuer_key.h"
#include "velmora/reading/crossing.h"

namespace velmora::test {
namespace {

using der::Bytes;

struct Signed : SignedCases {
  Signed() {
    for (const auto& [name, der] : issuerDers) {
      issuers.emplace(name, parsed(der));
      keys[name] = std::make_unique<IssuerKey>(issuers.at(name));
      keys[name]->prepare();
    }
  }

  std::map<std::string, Certificate> issuers;
  std::map<std::string, std::unique_ptr<IssuerKey>> keys;
};

const Signed& all() {
  static const Signed instance;
  return instance;
}

// What is wrong with one that the library tolerates, by the reason of the command line.
SignatureFault faultOf(const SignedCase& it) {
  constexpr std::pair<std::string_view, SignatureFault> kFaults[] = {
      {"names the hash", SignatureFault::otherHash},
      {"its algorithm another one", SignatureFault::otherHash},
      {"lacks its leading zeros", SignatureFault::shortDigest},
      {"does not fit", SignatureFault::keyDoesNotFit},
      {"bound to other parameters", SignatureFault::keyDoesNotFit},
      {"cannot check this algorithm", SignatureFault::algorithmUnknown},
      {"two different signature algorithms", SignatureFault::algorithmsDiffer},
      {"parameters that are not understood", SignatureFault::parametersNotUnderstood},
      {"masked with", SignatureFault::otherMaskHash},
      {"says with", SignatureFault::otherMaskHash},
      {"its algorithm says of", SignatureFault::otherSaltLength},
      {"64 bytes", SignatureFault::signatureMalformed}};
  if (it.typed == "parametersForbidden") return SignatureFault::parametersForbidden;
  EXPECT_EQ(it.typed, "");
  for (const auto& [words, fault] : kFaults) {
    if (it.strict.find(words) != it.strict.npos) return fault;
  }
  EXPECT_EQ(it.strict, "");
  return SignatureFault::none;
}

// Every algorithm, with keys that are prepared and plain ones, and each refusal beside what differs
// in that alone and is good.
TEST(Signatures, AreGoodToTheLetterAlone) {
  size_t good = 0;
  ASSERT_GT(all().cases.size(), 300u);
  for (const SignedCase& it : all().cases) {
    SCOPED_TRACE(it.name);
    const Result<Certificate> certificate = Certificate::parse(it.der);
    if (it.name == "lengths that are not DER") {
      EXPECT_EQ(certificate.error().code, ErrorCode::notDer);
      continue;
    }
    ASSERT_TRUE(certificate);
    const SignatureCheck check = certificate->checkSignature(all().issuers.at(it.by));
    EXPECT_EQ(check.verdict, verdictOf(check.fault));
    EXPECT_EQ(check.fault, all().keys.at(it.by)->check(*certificate).fault);
    EXPECT_EQ(check.message().empty(), check.fault == SignatureFault::none);
    const bool isGood = check.verdict == SignatureVerdict::good;
    EXPECT_TRUE(it.valid ? check.fault == faultOf(it) : !isGood) << check.message();
    good += isGood ? 1 : 0;
  }
  EXPECT_GT(good, 120u);
}

// Of what the library takes for wrong some is malformed whoever signed, and says so.
TEST(Signatures, AreToldApartFromThoseOfAnotherKey) {
  const std::pair<const char*, SignatureFault> rows[] = {
      {"P-256: another certificate", SignatureFault::wrongSignature},
      {"P-256: r is the order", SignatureFault::wrongSignature},
      {"P-256: r is negative", SignatureFault::signatureMalformed},
      {"P-256: octet behind", SignatureFault::signatureMalformed},
      {"dsa-1024: padded r", SignatureFault::signatureMalformed},
      {"Ed25519 signature, cut", SignatureFault::signatureMalformed},
      {"Ed25519 signature, zero", SignatureFault::wrongSignature},
      {"RSA signature, octet behind", SignatureFault::wrongSignature},
      {"MD5 is not known", SignatureFault::otherHash},
  };
  for (const auto& [name, fault] : rows) {
    const SignedCase& it = all().byName(name);
    EXPECT_EQ(all().keys.at(it.by)->check(parsed(it.der)).fault, fault) << name;
  }
}

constexpr const char* kFamilies[] = {"sha256 by rsa-1024",
                                     "PSS with sha256, mask sha256, salt 32 by rsa-1024",
                                     "sha256 by P-256", "sha256 by dsa-1024", "Ed25519"};

TEST(Signatures, AreOfOneKeyAloneAndSurviveNoFlippedBit) {
  for (const char* const family : kFamilies) {
    SCOPED_TRACE(family);
    LogNull log;
    const SignedCase& it = all().byName(family);
    EXPECT_EQ(all().keys.at(it.by)->prepare(), family == kFamilies[2] || family == kFamilies[4]);
    for (const auto& [name, key] : all().keys) {
      const SignatureVerdict verdict = key->check(parsed(it.der)).verdict;
      EXPECT_EQ(verdict == SignatureVerdict::good, name == it.by) << name;
    }
    const Certificate whole = parsed(it.der);
    const Parts parts = whole.parts();
    const auto tbsEnd = static_cast<size_t>(parts.tbs.data() + parts.tbs.size() - parts.der.data());
    const RefOwner<VelmoraX509> issuer = objectOf(all().issuers.at(it.by));
    for (size_t at = 0; at < it.der.size(); ++at) {
      std::string changed = it.der;
      changed[at] = static_cast<char>(changed[at] ^ (1 << at % 8));
      const Result<Certificate> certificate = Certificate::parse(changed);
      if (!certificate) continue;
      const SignatureVerdict verdict = all().keys.at(it.by)->check(*certificate).verdict;
      EXPECT_NE(verdict, SignatureVerdict::good) << at;
      // What stands between is not signed, and is understood leniently by the other face.
      if (at >= tbsEnd && at < it.der.size() - parts.signature.size()) continue;
      EXPECT_FALSE(objectOf(*certificate)->verifyCertSignature(issuer.get(), log)) << at;
    }
  }
}

// The two members of a SubjectPublicKeyInfo.
std::pair<Bytes, Bytes> membersOf(const Certificate& issuer) {
  Asn1Element spki, algorithm, bits;
  DerReader(issuer.parts().spki, 0).takeAny(spki);
  DerReader members(spki);
  members.takeAny(algorithm);
  members.takeAny(bits);
  return {charactersOf(algorithm.whole), charactersOf(bits.whole)};
}

TEST(Signatures, NeedAKeyThatSaysAllOfItself) {
  const auto bitsOf = [](const char* by) { return membersOf(all().issuers.at(by)).second; };
  const auto algorithmOf = [](const char* by) { return membersOf(all().issuers.at(by)).first; };
  const auto oidAnd = [](const char* oid, const Bytes& parameters) {
    return der::sequence(der::oid(oid), parameters);
  };
  const auto flipped = [](Bytes bits) {
    bits.back() ^= 1;
    return bits;
  };
  constexpr const char *kEc = "1.2.840.10045.2.1", *kDsa = "1.2.840.10040.4.1",
                       *kPss = "1.2.840.113549.1.1.10", *kRsa = "1.2.840.113549.1.1.1";
  const char* const pss = "PSS with sha256, mask sha256, salt digest by rsa-pss";
  const Bytes unknownHash = der::sequence(der::context(0, der::algorithm("1.2.3")));
  const Bytes rsa = bitsOf("rsa-1024");
  const struct {
    const char* name;
    Bytes algorithm, bits;
    SignatureFault fault;
  } rows[] = {
      {kFamilies[0], oidAnd(kRsa, der::null()), rsa, SignatureFault::none},
      {kFamilies[0], oidAnd(kRsa, ""), rsa, SignatureFault::none},
      {kFamilies[0], oidAnd(kRsa, der::utf8("")), rsa, SignatureFault::keyUnusable},
      {kFamilies[0], oidAnd(kPss, ""), rsa, SignatureFault::keyDoesNotFit},
      {kFamilies[2], oidAnd(kEc, der::oid("1.2.840.10045.3.1.7")), bitsOf("P-256"),
       SignatureFault::none},
      {kFamilies[2], oidAnd(kEc, der::oid("1.2.3")), bitsOf("P-256"), SignatureFault::keyUnusable},
      {kFamilies[2], oidAnd(kEc, der::null()), bitsOf("P-256"), SignatureFault::keyUnusable},
      {kFamilies[2], algorithmOf("P-256"), flipped(bitsOf("P-256")), SignatureFault::keyUnusable},
      {kFamilies[3], algorithmOf("dsa-1024"), bitsOf("dsa-1024"), SignatureFault::none},
      {kFamilies[3], oidAnd(kDsa, ""), bitsOf("dsa-1024"), SignatureFault::keyUnusable},
      {kFamilies[4], algorithmOf("ed25519"), der::bits("\1" + std::string(31, '\0')),
       SignatureFault::keyUnusable},
      {pss, oidAnd(kPss, ""), bitsOf("rsa-pss"), SignatureFault::none},
      {pss, oidAnd(kPss, unknownHash), bitsOf("rsa-pss"), SignatureFault::keyDoesNotFit},
      {pss, oidAnd(kPss, der::null()), bitsOf("rsa-pss"), SignatureFault::keyUnusable},
  };
  for (const auto& row : rows) {
    const Bytes spki = der::sequence(row.algorithm, row.bits);
    const IssuerKey key(std::as_bytes(std::span(spki)));
    EXPECT_EQ(key.check(parsed(all().byName(row.name).der)).fault, row.fault) << &row - rows;
    EXPECT_EQ(key.isUsable(), row.fault != SignatureFault::keyUnusable) << &row - rows;
    EXPECT_EQ(IssuerKey::isUsable(std::as_bytes(std::span(spki))), key.isUsable()) << &row - rows;
  }
  const Bytes trailing = der::sequence(oidAnd(kRsa, der::null()), rsa) + der::null();
  EXPECT_FALSE(IssuerKey(std::as_bytes(std::span(trailing))).isUsable());
}

TEST(Signatures, SayTheirScheme) {
  const auto schemeOf = [](const char* name) {
    return parsed(all().byName(name).der).signatureScheme();
  };
  const Result<SignatureScheme> pss = schemeOf("PSS with all parameters");
  EXPECT_TRUE(pss && pss->key == KeyKind::rsaPss && pss->hash == Hash::sha256);
  EXPECT_TRUE(pss && pss->maskHash == Hash::sha512 && pss->saltLength == 21);
  EXPECT_EQ(hashName(schemeOf("sha384 by P-256")->hash), "SHA-384");
  EXPECT_EQ(schemeOf("P-256: parameters").error().code, ErrorCode::malformedField);
  EXPECT_EQ(schemeOf("RSA key and an OID that is unknown").error().code,
            ErrorCode::unknownAlgorithm);
}

}  // namespace
}  // namespace velmora::test
