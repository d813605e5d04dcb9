#include <algorithm>
#include <functional>
#include <iterator>
#include <latch>
#include <thread>

#include "tests/common/allocation_fault.h"
#include "tests/common/certificate_files.h"
#include "tests/common/der_builder.h"
#include "tests/common/signed_cases.h"
#include "tests/path/made_ways.h"
#include "velmora/path/internal/judgement_cache.h"
#include "velmora/path/link.h"

// verify() as a whole; what single rules say is held against a naive checker by pki_test.py.

namespace velmora::test {
namespace {

// The rows are in make_paths.py; those that differ in one thing stand together.
TEST(Verify, EndsInTheAnchorItselfAndHoldsToWhatItBindsBy) {
  for (const MadeQuestion& row : pki().questions) {
    VerifyOptions options = asked(row.isServer ? Purpose::server : Purpose::any);
    options.judgeAnchorDates = !row.isUndated;
    EXPECT_EQ(briefly(ask(row.leaf, row.anchors, row.issuers, options)), row.answer)
        << row.leaf << " under " << row.anchors << " with " << row.issuers;
  }
}

TEST(Verify, HoldsToTheConstraintsOfANameAndKey) {
  const Name name = named("root").subject();
  const Bytes key = named("root").parts().spki;
  const auto names = [](const char* of) { return *named(of).nameConstraints(); };
  const auto purposes = [](const char* of) { return *named(of).extendedKeyUsage(); };
  const struct {
    Bytes key;
    AnchorConstraints constraints;
    std::string expected;
  } rows[] = {
      {key, {}, "leaf ca key"},
      {named("second").parts().spki, {}, "wrongSignature"},
      {key, {.pathLength = 0}, "pathTooLong"},
      {key, {.pathLength = 1}, "leaf ca key"},
      {key, {.names = names("rootOrg")}, "nameNotPermitted"},
      {key, {.names = names("rootCom")}, "leaf ca key"},
      {key, {.purposes = purposes("rootClient")}, "wrongPurpose"},
      {key, {.purposes = purposes("rootServer")}, "leaf ca key"},
  };
  const CertificateSet issuers(several("ca root"));
  std::vector<TrustAnchor> all;
  for (const auto& row : rows) {
    all.push_back(*TrustAnchor::make(name, row.key, row.constraints));
    const TrustAnchors one(std::span(&all.back(), 1));
    EXPECT_EQ(briefly(verify(named("leaf"), one, issuers, asked(Purpose::server))), row.expected);
  }
  // All at once, in either order.
  VerifyOptions options = asked(Purpose::server);
  options.paths = 100;
  std::vector<std::optional<uint64_t>> lengths[2];
  for (auto& found : lengths) {
    for (const auto& each : verify(named("leaf"), TrustAnchors(all), issuers, options).verified) {
      found.push_back(each.anchor().constraints()->pathLength);
    }
    EXPECT_EQ(found.size(), 4U);
    std::reverse(all.begin(), all.end());
  }
  EXPECT_EQ(lengths[0], lengths[1]);
  EXPECT_EQ(TrustAnchor::make(*Name::parse(""), key).error().code, ErrorCode::malformedName);
  EXPECT_EQ(TrustAnchor::make(name, key.first(20)).error().code, ErrorCode::malformedKey);
}

// The leaf's, its issuer's and the anchor's, which may be all there is of that.
TEST(Verify, JudgesEveryKeyOfTheWay) {
  const CertificateSet issuers(several("ca"));
  const TrustAnchor anchors[] = {
      TrustAnchor(named("root")),
      *TrustAnchor::make(named("root").subject(), named("root").parts().spki)};
  for (const TrustAnchor& anchor : anchors) {
    VerifyOptions options = asked();
    options.keys.curves = {*Oid::parse("1.3.132.0.34"), *Oid::parse("1.2.840.10045.3.1.7")};
    const TrustAnchors one(std::span(&anchor, 1));
    EXPECT_TRUE(verify(named("leaf"), one, issuers, options));
    options.keys.curves.pop_back();
    std::string places;
    for (const Finding& each : verify(named("leaf"), one, issuers, options).furthest.findings) {
      EXPECT_EQ(each.reason, Reason::curveNotAllowed);
      places += std::to_string(each.certificate);
    }
    EXPECT_EQ(places, "012");
  }
}

const char* const kManyAnchors = "root rootTwin rootExpired rootOtherKey rootOrg second";
const char* const kManyIssuers = "ca caTwin caOfSecond caSpoilt caWarned root second";

// One whose signature is spoilt, so that others of the issuer's name are asked whether they made
// it.
Crl forgedCrl(const std::string& label) {
  const Bytes der = pki().crls.at(label).der();
  Octets forged(der.begin(), der.end());
  forged.back() ^= std::byte{1};
  return *Crl::parse(forged);
}

// What the searches of the following tests are about: some hold, some do not.
std::vector<VerifyOptions> questions() {
  std::vector<VerifyOptions> all(5, asked());
  all[1].paths = 100;
  all[2].purpose = Purpose::server;
  all[2].target = *Target::host("elsewhere.example.com");
  std::vector<Crl> crls = labelled(pki().crls, "crlRevokedCa crlOfCa crlOfRoot");
  crls.push_back(forgedCrl("crlOfCa"));
  all[3].crls = CrlSet(crls);
  all[3].revocation = Revocation::all;
  all[4].at = *all[4].at + std::chrono::days(9000);
  return all;
}

TEST(Verify, AnswersTheSameInAnyOrderAndEachTime) {
  std::vector<Certificate> roots = several(kManyAnchors);
  std::vector<Certificate> issuers = several(kManyIssuers);
  const TrustAnchors warm(roots);
  const CertificateSet set(issuers);
  const Certificate& leaf = named("leaf");
  for (const VerifyOptions& options : questions()) {
    const std::string expected = wholly(verify(leaf, warm, set, options));
    for (size_t turn = 0; turn < issuers.size(); ++turn) {
      std::rotate(roots.begin(), roots.begin() + 1, roots.end());
      std::rotate(issuers.begin(), issuers.begin() + 1, issuers.end());
      if (turn % 2 != 0) std::reverse(issuers.begin(), issuers.end());
      const TrustAnchors anchors(roots);
      EXPECT_EQ(wholly(verify(leaf, anchors, CertificateSet(issuers), options)), expected);
      std::vector<Bytes> sent = {leaf.der()};
      for (const Certificate& each : issuers) sent.push_back(each.der());
      EXPECT_EQ(wholly(verify(sent, warm, options)), expected);
      EXPECT_EQ(wholly(verify(sent, warm, options, set)), expected) << "in both sets";
      sent.resize(turn + 1);
      const CertificateSet others(std::span<const Certificate>(issuers).subspan(turn));
      EXPECT_EQ(wholly(verify(sent, warm, options, others)), expected) << "in one of both";
    }
  }
}

TEST(Verify, TakesWhatAPeerSentAndPassesOverWhatIsNone) {
  const TrustAnchors anchors(several("root"));
  const Bytes leaf = named("leaf").der();
  const Bytes ca = named("ca").der();
  const Bytes none = ca.first(20);
  const struct {
    std::vector<Bytes> sent;
    std::string more, expected;
  } rows[] = {{{leaf, none, ca}, "", "leaf ca root"}, {{leaf, none}, "", "noIssuer"},
              {{leaf, none}, "ca", "leaf ca root"},   {{none, ca}, "", "malformedInput"},
              {{}, "ca", "malformedInput"},           {{ca, leaf}, "", "ca root"}};
  for (const auto& row : rows) {
    const CertificateSet more(several(row.more));
    EXPECT_EQ(briefly(verify(row.sent, anchors, asked(), more)), row.expected);
  }
}

TEST(Verify, RefusesAQuestionThatLeavesOutWhatItIsFor) {
  const struct {
    Purpose purpose;
    Target target;
    std::string expected;
  } rows[] = {
      {Purpose::unsaid, Target::notJudged(), "purposeUnsaid"},
      {Purpose::any, {}, "leaf ca root"},
      {Purpose::server, {}, "targetUnsaid"},
      {Purpose::server, Target::notJudged(), "leaf ca root"},
      {Purpose::server, *Target::host("www.example.com"), "leaf ca root"},
      {Purpose::server, *Target::email("a@example.com"), "wrongTarget"},
      {Purpose::email, *Target::host("www.example.com"), "wrongTarget"},
      {Purpose::any, *Target::host("example.com"), "wrongHost"},  // a target given is judged
  };
  for (const auto& row : rows) {
    VerifyOptions options = asked(row.purpose);
    options.target = row.target;
    EXPECT_EQ(briefly(ask("leaf", "root", "ca", options)), row.expected);
  }
}

// What a search takes is found out first, and is then just enough.
TEST(Verify, StopsAtEachLimitAndKeepsTheWaysFound) {
  const Cost used = ask("leaf", "rootCom", "ca").used;
  VerifyOptions many = asked();
  many.paths = 2;
  const Cost ofBoth = ask("leaf", "root second", "ca caOfSecond", many).used;
  const struct {
    uint32_t Limits::*limit;
    uint32_t least, leastForBoth;
    std::string reason;
  } rows[] = {
      {&Limits::certificates, 3, 3, "tooManyCertificates"},
      {&Limits::candidates, used.candidates, ofBoth.candidates, "tooManyCandidates"},
      {&Limits::signatures, used.signatures, ofBoth.signatures, "tooManySignatures"},
      {&Limits::comparisons, used.comparisons, ofBoth.comparisons, "tooManyComparisons"},
  };
  for (const auto& row : rows) {
    VerifyOptions options = asked();
    ASSERT_GT(row.least, 0U);
    options.limits.*row.limit = row.least;
    EXPECT_EQ(briefly(ask("leaf", "rootCom", "ca", options)), "leaf ca rootCom");
    options.limits.*row.limit = row.least - 1;
    const Verification cut = ask("leaf", "rootCom", "ca", options);
    EXPECT_EQ(briefly(cut), row.reason);
    const std::vector<Finding>& found = cut.furthest.findings;
    EXPECT_TRUE(cut.furthest.anchor || reasonId(found.back().reason) == row.reason);
    // Where nothing was to be tried, no limit but that of length kept anything from it.
    options.at = *options.at + std::chrono::days(9000);
    options.judgeAnchorDates = false;
    EXPECT_EQ(briefly(ask("leaf", "rootCom", "ca", options)),
              row.limit == &Limits::certificates ? row.reason : "expired");
    options = asked();
    if (row.leastForBoth == row.least) continue;
    options.paths = 2;
    options.limits.*row.limit = row.leastForBoth;
    EXPECT_EQ(ask("leaf", "root second", "ca caOfSecond", options).verified.size(), 2U);
    options.limits.*row.limit = row.leastForBoth - 1;
    EXPECT_EQ(ask("leaf", "root second", "ca caOfSecond", options).verified.size(), 1U);
  }
}

// The certificate again and again, each with another signature, which is none of its issuer's.
std::vector<Certificate> crowdOf(const std::string& label, size_t many) {
  std::vector<Certificate> crowd;
  for (size_t i = 0; i < many; ++i) {
    Octets der(named(label).der().begin(), named(label).der().end());
    der.back() ^= std::byte(i % 255 + 1);
    der.end()[-2] ^= std::byte(i / 255);
    crowd.push_back(*Certificate::parseBytes(der));
  }
  return crowd;
}

std::vector<TrustAnchor> rootsByLength(uint64_t many) {
  std::vector<TrustAnchor> anchors;
  for (uint64_t i = 0; i < many; ++i) {
    anchors.push_back(
        *TrustAnchor::make(named("root").subject(), named("root").parts().spki, {.pathLength = i}));
  }
  return anchors;
}

// Every look at one of a crowd is counted, and the count is just enough. All have expired, so that
// no way is followed, which counts too.
TEST(Verify, CountsEveryLookAtACrowd) {
  const struct {
    std::vector<TrustAnchor> anchors;
    std::string crowd;
    uint32_t looks;
  } rows[] = {
      {{TrustAnchor(named("second"))}, "root", 1 + 20 + 20 * 20},  // none can be another's issuer
      {rootsByLength(10), "caTwin", 21 + 21 * 9},  // all anchors but the first of the name
  };
  for (const auto& row : rows) {
    std::vector<Certificate> issuers = crowdOf(row.crowd, 20);
    issuers.push_back(named("ca"));
    VerifyOptions options = asked();
    options.at = *options.at + std::chrono::days(9000);
    const auto answer = [&] {
      return verify(named("leaf"), TrustAnchors(row.anchors), CertificateSet(issuers), options);
    };
    EXPECT_EQ(answer().used.candidates, row.looks);
    options.limits.candidates = row.looks;
    EXPECT_NE(answer().reason, Reason::tooManyCandidates);
    --options.limits.candidates;
    EXPECT_EQ(answer().reason, Reason::tooManyCandidates);
  }
}

// A part of which no link is left that leads to an anchor is not gone into for each of its crowd.
TEST(Verify, LeavesWhatNoLongerLeadsToAnAnchor) {
  std::vector<Certificate> issuers = several("lower middle ca");
  for (const char* const label : {"lower", "middle", "ca"}) {
    for (Certificate& each : crowdOf(label, 20)) issuers.push_back(std::move(each));
  }
  VerifyOptions options = asked();
  options.limits.candidates = 1500;
  const Verification found =
      verify(named("leafOfLower"), TrustAnchors(several("root")), CertificateSet(issuers), options);
  EXPECT_EQ(briefly(found), "leafOfLower lower middle ca root");
}

// For ways without warnings it looks on, though not at each way that there is.
TEST(Verify, LooksOnForAWayWithoutWarnings) {
  std::vector<TrustAnchor> anchors = rootsByLength(200);
  size_t calls = 0;
  const auto count = [&](const Path&) noexcept { return ++calls != 0; };
  VerifyOptions options = asked();
  options.accept = count;
  const auto answer = [&](const char* issuers) {
    calls = 0;
    const CertificateSet set(several(issuers));
    return verify(named("leaf"), TrustAnchors(anchors), set, options);
  };
  EXPECT_EQ(briefly(answer("caWarned")), "leaf caWarned key");
  EXPECT_EQ(calls, 1 + 64 + 1U);
  // Each of 199 says again what there is to warn of, which counts for all but the first.
  options.paths = 200;
  EXPECT_EQ(answer("caWarned").used.comparisons, answer("ca").used.comparisons + 198);
  options.paths = 1;
  anchors = {TrustAnchor(named("root"))};
  EXPECT_EQ(briefly(answer("caWarned ca")), "leaf ca root");
  EXPECT_EQ(calls, 2U);
  options.paths = 2;
  EXPECT_EQ(briefly(answer("caWarned ca")), "leaf ca root, leaf caWarned root");
}

// Whatever is wrong with the ways that were tried.
TEST(Verify, SaysWhenLongerWaysWereNotTried) {
  const auto no = [](const Path&) noexcept { return false; };
  VerifyOptions options = asked();
  options.accept = no;
  for (const uint32_t most : {1U, 2U, 3U}) {
    options.limits.certificates = most;
    EXPECT_EQ(briefly(ask("leaf", "ca root", "caTwin", options)),
              most == 3 ? "rejectedByCaller" : "tooManyCertificates");
  }
  // No limit makes ways of more than 100 be tried, here such that nobody signed.
  for (const size_t length : {100U, 101U}) {
    std::vector<Certificate> way;
    for (size_t i = 0; i < length; ++i) {
      der::Certificate fields;
      fields.subject = der::name({{"2.5.4.3", std::to_string(i).c_str()}});
      fields.issuer = der::name({{"2.5.4.3", std::to_string(i + 1).c_str()}});
      way.push_back(*Certificate::parse(fields.der()));
    }
    options.limits.certificates = 1000;
    const Verification answer = verify(way[0], TrustAnchors(std::span(way).last(1)),
                                       CertificateSet(std::span(way).subspan(1)), options);
    EXPECT_EQ(briefly(answer), length == 100 ? "algorithmsDiffer" : "tooManyCertificates");
  }
}

TEST(Verify, TellsNoMoreOfAKindThanItMay) {
  for (const size_t many : {64U, 65U}) {
    std::string unknown, spelledOut;
    for (size_t i = 0; i < many; ++i) {
      unknown += sequence(der::oid("1.2.3." + std::to_string(i)), boolean(true), octets("x"));
      spelledOut += sequence(der::oid("1.2.4." + std::to_string(i)), boolean(false), octets("x"));
    }
    const Certificate leaf = *Certificate::parse(withExtensions(unknown, spelledOut));
    std::map<std::string, size_t> told;
    const Verification answer = verify(leaf, TrustAnchors(several("root")), {}, asked());
    for (const Finding& each : answer.furthest.findings) ++told[std::string(each.id())];
    EXPECT_EQ(told["unknownCriticalExtension"], 64U);
    EXPECT_EQ(told["defaultEncoded"], 64U);
  }
}

// Not what is wrong with a crowd in an issuer's name.
TEST(Verify, SaysWhatIsWrongWithTheWayThatIsSigned) {
  std::vector<Certificate> issuers = crowdOf("ca", 500);
  issuers.push_back(named("ca"));
  const TrustAnchors anchors(several("root"));
  VerifyOptions options = asked();
  EXPECT_EQ(briefly(verify(named("leaf"), anchors, CertificateSet(issuers), options)),
            "leaf ca root");
  options.policies.accepted = {*Oid::parse("1.2.3")};
  EXPECT_EQ(briefly(verify(named("leaf"), anchors, CertificateSet(issuers), options)), "noPolicy");
}

TEST(Verify, AllowsNoCurveButThoseThatAreNamed) {
  const Oid p256("1.2.840.10045.3.1.7"), p384("1.3.132.0.34"), ed25519("1.3.101.112");
  const Certificate& leaf = named("leaf");
  const Certificate edwards = *Certificate::parse(SignedCases().issuerDers.at("ed25519"));
  const struct {
    const Certificate& trusted;
    KeyOptions keys;
    Reason expected;
  } rows[] = {
      {leaf, {.ecBits = 256}, Reason::none},
      {leaf, {.ecBits = 257}, Reason::weakKey},
      {leaf, {.curves = {p256}}, Reason::none},
      {leaf, {.curves = {p384}}, Reason::curveNotAllowed},
      {edwards, {.ecBits = 257}, Reason::none},
      {edwards, {.curves = {p256}}, Reason::curveNotAllowed},
      {edwards, {.curves = {p256, ed25519}}, Reason::none},
  };
  for (const auto& row : rows) {
    VerifyOptions options = asked();
    options.judgeAnchorDates = false;
    options.keys = row.keys;
    const TrustAnchors itself(std::span(&row.trusted, 1));
    EXPECT_EQ(verify(row.trusted, itself, CertificateSet(), options).reason, row.expected);
  }
}

TEST(Verify, GivesTheCallerTheLastWordAndStopsWhenTold) {
  std::vector<std::string> judged;
  std::string refused;
  std::atomic<bool> stop = false;
  bool stopsAtFirst = false;
  const auto judge = [&](const Path& path) noexcept {
    judged.push_back(labelsOf(path));
    stop = stopsAtFirst;
    return refused.find(judged.back()) == std::string::npos;
  };
  VerifyOptions options = asked();
  options.accept = judge;
  options.cancel = &stop;
  const auto answer = [&] {
    judged.clear();
    stop = false;
    const Verification found = ask("leaf", "root second", "ca caOfSecond", options);
    std::sort(judged.begin(), judged.end());
    EXPECT_EQ(std::adjacent_find(judged.begin(), judged.end()), judged.end());
    return briefly(found);
  };
  const std::string first = answer();
  EXPECT_EQ(judged, std::vector<std::string>{first});
  refused = first;
  const std::string second = answer();
  EXPECT_EQ(judged.size(), 2U);
  EXPECT_NE(first, second);
  refused = first + ", " + second;
  EXPECT_EQ(answer(), "rejectedByCaller");
  EXPECT_EQ(judged.size(), 2U);
  refused.clear();
  options.paths = 2;
  EXPECT_EQ(answer(), first + ", " + second);
  stopsAtFirst = true;
  EXPECT_EQ(answer(), first);
  stop = true;
  EXPECT_EQ(briefly(ask("leaf", "root", "ca", options)), "cancelled");
  EXPECT_EQ(briefly(ask("pinned", "pinned", "", options)), "cancelled");
}

TEST(Verify, SaysForWhatAndWhetherCrlsVouched) {
  const struct {
    Revocation mode;
    std::string crls, expected;
  } rows[] = {
      {Revocation::notAsked, "crlRevoked", "leaf ca root; 00"},
      {Revocation::whereCrlsAre, "crlOfCa", "leaf ca root; 10"},
      {Revocation::whereCrlsAre, "crlRevoked", "revoked; leaf ca root"},
      {Revocation::leaf, "crlOfRoot", "revocationUnknown; leaf ca root"},
      {Revocation::leaf, "crlOfCa", "leaf ca root; 10"},
      {Revocation::all, "crlOfCa", "revocationUnknown; leaf ca root"},
      {Revocation::all, "crlOfCa crlOfRoot", "leaf ca root; 11"},
      {Revocation::all, "crlOfCa crlRevokedCa", "revoked; leaf ca root"},
  };
  for (const auto& row : rows) {
    VerifyOptions options = asked(Purpose::server);
    options.revocation = row.mode;
    options.policies.inhibitAny = true;
    options.crls = CrlSet(labelled(pki().crls, row.crls));
    const Verification answer = ask("leaf", "root", "ca", options);
    EXPECT_TRUE(wholly(answer).starts_with(row.expected + ';')) << wholly(answer);
    for (const VerifiedPath& each : answer.verified) {
      EXPECT_EQ(std::pair(each.purpose(), each.at()), std::pair(Purpose::server, *options.at));
      EXPECT_EQ(each.revocation(), row.mode);
      EXPECT_TRUE(each.askedPolicies().inhibitAny);
    }
  }
}

// A CRL that nobody signed makes others of the name be asked, out of a part of the limit of their
// own; and with the key of one that nobody vouches for nothing is computed.
TEST(Verify, LeavesTheLimitToTheWayWhoeverMayHaveSignedCrls) {
  VerifyOptions options = asked();
  options.revocation = Revocation::all;
  options.crls = CrlSet(std::vector{pki().crls.at("crlOfRoot"), forgedCrl("crlOfRoot")});
  for (const auto& [other, limit, expected, used] :
       {std::tuple("rootOtherKey", 100u, "leafOfRoot root", 16u),
        std::tuple("rootOtherKey", 12u, "leafOfRoot root", 12u),
        // To tell why has an allowance of its own.
        std::tuple("rootOtherKey", 11u, "tooManySignatures", 16u),
        std::tuple("rootOfNobody", 100u, "leafOfRoot root", 12u),
        std::tuple("rootOfRoot", 100u, "leafOfRoot root", 20u)}) {
    options.limits.signatures = limit;
    const Verification answer = ask("leafOfRoot", "root", other, options);
    EXPECT_EQ(briefly(answer), expected);
    EXPECT_EQ(answer.used.signatures, used) << other << ' ' << limit;
  }
}

// What is kept is new each time, since what is known takes no memory; and a fault leaves nothing
// there that is not so.
TEST(Verify, WithoutMemoryNothingHolds) {
  const std::vector<Certificate> roots = several(kManyAnchors);
  const CertificateSet issuers(several("ca caWarned caOfSecond caSpoilt caMapping"));
  const Certificate& leaf = named("leafMapped");
  const std::vector<Bytes> sent = {leaf.der(), named("caMapping").der(), named("caSpoilt").der()};
  std::vector<VerifyOptions> all = questions();
  all[0].policies.accepted = {*Oid::parse("1.3.6.1.4.1.99999.1")};
  all[1].purpose = Purpose::server;
  all[1].target = *Target::host("www.example.com");
  all[3].crls = CrlSet(labelled(pki().crls, "crlOfCa crlOfRoot"));
  for (const VerifyOptions& options : all) {
    for (const bool fromBytes : {false, true}) {
      TrustAnchors anchors(roots);
      Verification answer;
      const auto attempt = [&] {
        answer =
            fromBytes ? verify(sent, anchors, options) : verify(leaf, anchors, issuers, options);
      };
      attempt();
      EXPECT_TRUE(answer || &options != &all[0]);  // over mapped policies
      const std::string expected = wholly(answer);
      anchors = TrustAnchors(roots);
      const size_t faults = forEachAllocationFault(attempt, [&](bool faulted) {
        ASSERT_EQ(wholly(answer) == expected, !faulted);
        ASSERT_EQ(answer.reason == Reason::outOfMemory, faulted);
        attempt();
        ASSERT_EQ(wholly(answer), expected);
        anchors = TrustAnchors(roots);
      });
      EXPECT_GT(faults, 50U);
    }
  }
}

TEST(Paths, WithoutMemoryTheirPartsAnswerRightOrNotAtAll) {
  const auto said = [](const auto& result, const auto& show) -> std::string {
    if (result) return show(*result);
    return result.error().code == ErrorCode::outOfMemory ? kNoMemory : "none";
  };
  const auto there = [](const auto&) { return "there"; };
  const auto textOf = [](const Target& target) { return target.text(); };
  const auto count = [](const auto& things) { return std::to_string(things.size()); };
  const Certificate &root = named("root"), &leaf = named("leaf");
  const Crl& crl = pki().crls.at("crlRevoked");
  const std::string pem = fileContent(VELMORA_SOURCE_DIR "/tests/data/crls.pem");
  const std::vector<Certificate> some = several(kManyIssuers);
  const std::vector<TrustAnchor> keys = rootsByLength(3);
  const std::vector<Crl> crls = CrlSet::read(std::as_bytes(std::span(pem))).crls;
  const Verification answer = ask("leaf", "rootExpired", "ca");
  const std::function<std::string()> questions[] = {
      [&] { return said(Target::host("a.long.host.name.example.org"), textOf); },
      [&] { return said(Target::host("2001:db8:1111:2222:3333:4444:5555:6666"), textOf); },
      [&] { return said(Target::email("somebody@a.long.host.example"), textOf); },
      [&] { return said(TrustAnchor::make(root.subject(), root.parts().spki), there); },
      [&] { return count(TrustAnchors(some)) + count(CertificateSet(some)) + count(CrlSet(crls)); },
      [&] { return count(TrustAnchors(keys)); },
      [&] { return said(Crl::parse(crl.der()), count); },
      [&] { return said(crl.find(leaf.parts().serial), there); },
      [&] { return said(crls.at(1).issuingDistributionPoint(), there); },
      [&] { return count(CrlSet::read(crl.der()).crls); },
      [&] { return count(CrlSet::read(std::as_bytes(std::span(pem))).crls); },
      [&] { return std::to_string(linkFaults(leaf, root).size()); },
      [&] { return answer.text() + answer.furthest.findings.at(0).text(); },
  };
  for (const auto& each : questions) expectRightOrNone(each);
}

TEST(Verify, WithoutMemoryGoesOnWithAKeyThatIsNotPrepared) {
  const Certificate& root = named("root");
  std::shared_ptr<const IssuerKey> key;
  std::optional<JudgementCache> cache;
  const auto makeCache = [&] {
    cache.emplace(1);
    for (int use = 0; use < 7; ++use) cache->key(root.parts().spki, Sha256{});
  };
  makeCache();
  const auto attempt = [&] { key = cache->key(root.parts().spki, Sha256{}); };
  const size_t faults = forEachAllocationFault(attempt, [&](bool faulted) {
    ASSERT_EQ(key, cache->key(root.parts().spki, Sha256{}));
    ASSERT_EQ(key->check(named("ca")).verdict, SignatureVerdict::good) << faulted;
    makeCache();
  });
  EXPECT_GE(faults, 3U);
}

// Each turn with anchors that know nothing yet, so that threads read what others are writing.
TEST(Verify, AnswersThreadsThatShareEverything) {
  const CertificateSet issuers(several(kManyIssuers));
  const Certificate leaf = named("leaf");
  std::vector<VerifyOptions> all = questions();
  all[3].crls = CrlSet(labelled(pki().crls, "crlOfCa crlOfRoot"));
  std::vector<std::string> expected;
  for (const VerifyOptions& options : all) {
    expected.push_back(wholly(ask("leaf", kManyAnchors, kManyIssuers, options)));
  }
  for (int turn = 0; turn < 40; ++turn) {
    const TrustAnchors anchors(several(kManyAnchors));
    std::vector<std::string> answers[4];
    std::latch start(std::ssize(answers));
    std::vector<std::thread> threads;
    for (auto& own : answers) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        for (const VerifyOptions& options : all) {
          own.push_back(wholly(verify(leaf, anchors, issuers, options)));
        }
      });
    }
    for (std::thread& each : threads) each.join();
    for (const auto& own : answers) ASSERT_EQ(own, expected);
  }
}

}  // namespace
}  // namespace velmora::test
