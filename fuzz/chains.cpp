#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

#include "fuzz/fuzz_target.h"
#include "velmora/path/verify.h"
#include "velmora/support/asn1/der_reader.h"

// Property: whatever is done to a leaf, to the certificates and CRLs beside it, and to their order,
// only chains hold whose leaf and issuers are, in what is signed, those of a chain that holds,
// under the anchor itself; so that no octet that nobody signed carries another one, and no CRL that
// was changed makes a certificate good that is revoked. The answer is the same each time: from
// octets and from certificates, in any order, with anchors that were never asked before.
//
// chains.der holds scenes, each as SEQUENCE { roots, ways, CRLs }, a way being leaf and issuers; an
// input is SEQUENCE { number of the scene, leaf, SEQUENCE OF issuer, SEQUENCE OF CRL }.

namespace velmora {
namespace {

using fuzz::require;
using Way = std::vector<Certificate>;

struct Scene {
  VerifyOptions options;
  std::vector<Certificate> roots;
  TrustAnchors anchors;   // keep what was computed with them from one input to the next
  std::vector<Way> ways;  // all that hold, without the anchor
};

// What is read as octets, as far as it is DER.
std::vector<Bytes> membersOf(Bytes der) {
  std::vector<Bytes> members;
  DerReader outside(der), reader;
  if (!outside.takeSequence(reader)) return members;
  for (Asn1Element each; reader.takeAny(each);) members.push_back(each.whole);
  return members;
}

template <class T>
std::vector<T> readable(const std::vector<Bytes>& all, Result<T> (*parse)(Bytes)) {
  std::vector<T> read;
  for (const Bytes each : all) {
    if (const Result<T> one = parse(each)) read.push_back(*one);
  }
  return read;
}

std::vector<Certificate> certificatesOf(const std::vector<Bytes>& all) {
  return readable<Certificate>(all, [](Bytes each) { return Certificate::parseBytes(each); });
}

CrlSet crlsIn(const std::vector<Bytes>& all) {
  return CrlSet(readable<Crl>(all, [](Bytes each) { return Crl::parse(each); }));
}

// In the order of chains.der.
std::array<VerifyOptions, 5> questions() {
  std::array<VerifyOptions, 5> all;
  for (VerifyOptions& each : all) {
    each.purpose = Purpose::server;
    each.target = *Target::host("www.example.com");
    each.at = std::chrono::sys_days(std::chrono::year(2026) / 6 / 1);
    each.paths = 8;
  }
  all[1].revocation = Revocation::all;
  all[3].policies.accepted = {*Oid::parse("1.3.6.1.4.1.99999.1")};
  return all;
}

// Each way has to hold, lest nothing that is refused afterwards means anything.
void requireWaysHold(Scene& scene, const CrlSet& crls) {
  scene.options.crls = crls;
  for (const Way& way : scene.ways) {
    const CertificateSet issuers(std::span<const Certificate>(way).subspan(1));
    require(bool(verify(way.front(), scene.anchors, issuers, scene.options)), "a good way holds");
  }
}

std::vector<Scene> readScenes() {
  std::ifstream in(VELMORA_FUZZ_CHAINS, std::ios::binary);
  const std::string file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::vector<Bytes> made = membersOf(std::as_bytes(std::span(file)));
  const auto asked = questions();
  require(made.size() == asked.size(), "there is a question for each scene");
  std::vector<Scene> scenes(asked.size());
  for (size_t i = 0; i < made.size(); ++i) {
    const std::vector<Bytes> parts = membersOf(made[i]);
    scenes[i].options = asked[i];
    scenes[i].roots = certificatesOf(membersOf(parts[0]));
    scenes[i].anchors = TrustAnchors(scenes[i].roots);
    for (const Bytes way : membersOf(parts[1]))
      scenes[i].ways.push_back(certificatesOf(membersOf(way)));
    requireWaysHold(scenes[i], crlsIn(membersOf(parts[2])));
  }
  return scenes;
}

bool areSignedAlike(const Certificate& a, const Certificate& b) {
  return std::ranges::equal(a.parts().tbs, b.parts().tbs);
}

void requireGood(const Scene& scene, const VerifiedPath& found) {
  const Way& certificates = found.path().certificates;
  const Certificate& anchor = *found.anchor().certificate();
  require(std::ranges::any_of(
              scene.roots,
              [&](const Certificate& root) { return root.der().data() == anchor.der().data(); }),
          "a way ends in the anchor itself");
  if (certificates.size() == 1) return require(found.leaf() == anchor, "a trusted leaf");
  require(std::ranges::any_of(scene.ways,
                              [&](const Way& way) {
                                return std::equal(way.begin(), way.end(), certificates.begin(),
                                                  certificates.end() - 1, areSignedAlike);
                              }),
          "a chain holds only as its issuers signed it");
  require(scene.options.revocation != Revocation::all || found.isNothingRevoked(), "CRLs vouch");
}

bool areEqual(const Path& a, const Path& b) {
  return a.certificates == b.certificates && a.findings == b.findings &&
         a.anchor.has_value() == b.anchor.has_value();
}

void requireSame(const Verification& a, const Verification& b) {
  const auto areSame = [](const VerifiedPath& one, const VerifiedPath& other) {
    return areEqual(one.path(), other.path()) && one.holdsAnyPolicy() == other.holdsAnyPolicy() &&
           one.policies().size() == other.policies().size();
  };
  require(a.reason == b.reason && areEqual(a.furthest, b.furthest), "the same reason");
  require(std::ranges::equal(a.verified, b.verified, areSame), "the same ways");
  require(a.used.candidates == b.used.candidates && a.used.signatures == b.used.signatures &&
              a.used.comparisons == b.used.comparisons,
          "at the same cost");
}

// From octets.
Verification ask(Scene& scene, const std::vector<Bytes>& chain, const std::vector<Bytes>& crls) {
  scene.options.crls = crlsIn(crls);
  Verification answer = verify(chain, scene.anchors, scene.options);
  for (const VerifiedPath& each : answer.verified) requireGood(scene, each);
  require((answer.reason == Reason::none) == bool(answer), "a refusal has a reason");
  require(answer.text().empty() == bool(answer), "in words");
  return answer;
}

// From certificates, in another order.
Verification askAgain(Scene& scene, const TrustAnchors& anchors, std::vector<Bytes> chain,
                      std::vector<Bytes> crls) {
  std::reverse(crls.begin(), crls.end());
  scene.options.crls = crlsIn(crls);
  const std::vector<Certificate> leaf = certificatesOf({chain.front()});
  std::reverse(chain.begin(), chain.end());
  chain.pop_back();
  return verify(leaf.front(), anchors, CertificateSet(certificatesOf(chain)), scene.options);
}

void run(Bytes input) {
  static std::vector<Scene> scenes = readScenes();
  const std::vector<Bytes> parts = membersOf(input);
  if (parts.size() < 4) return;
  Scene& scene = scenes[static_cast<size_t>(parts[0].back()) % scenes.size()];
  std::vector<Bytes> chain = membersOf(parts[2]);
  chain.insert(chain.begin(), parts[1]);
  const std::vector<Bytes> crls = membersOf(parts[3]);
  const Verification answer = ask(scene, chain, crls);
  if (answer.reason == Reason::malformedInput) return;
  // For some inputs alone, since each question costs a signature.
  const size_t turn = input.size() % 8;
  if (turn == 0) requireSame(answer, askAgain(scene, scene.anchors, chain, crls));
  if (turn == 4) requireSame(answer, askAgain(scene, TrustAnchors(scene.roots), chain, crls));
}

}  // namespace
}  // namespace velmora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::run(std::as_bytes(std::span(data, size)));
  return 0;
}
