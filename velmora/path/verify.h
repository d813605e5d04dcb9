#pragma once

// Whether a certificate may be trusted: RFC 5280 §6. docs/path-validation.md lists what is checked,
// in which order and by which clause, and what is not.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/path/anchors.h"
#include "velmora/path/crl.h"
#include "velmora/path/finding.h"
#include "velmora/path/target.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// What the leaf is to be used for. It has to be said: `any` is an answer too, and means that no
/// purpose is judged.
enum class Purpose : uint8_t {
  unsaid,
  server,        // TLS server: serverAuth
  client,        // TLS client: clientAuth
  codeSigning,   // has to be said by the leaf
  email,         // emailProtection
  timeStamping,  // has to be said by the leaf, critical and alone (RFC 3161 §2.3)
  ocspSigning,   // has to be said by the leaf (RFC 6960 §4.2.2.2)
  any,
};

/// Which rules beyond those of §6.1 refuse.
enum class Profile : uint8_t {
  basic,    // what must be read to decide is to the letter
  rfc5280,  // and what RFC 5280 §4 asks of issuers
  web,      // and what the CA/Browser Forum asks of public TLS servers
};

enum class Revocation : uint8_t {
  notAsked,
  whereCrlsAre,  // where there are CRLs of the issuer they have to vouch, stale ones refuse
  leaf,          // a CRL has to vouch for the leaf
  all,           // and for every certificate but the anchor
};

/// Policies (§6.1.1 c to g).
struct PolicyOptions {
  std::vector<Oid> accepted = {};            // user-initial-policy-set; none: any policy
  std::optional<bool> requireExplicit = {};  // unsaid: yes where `accepted` names any
  bool inhibitMapping = false;               // initial-policy-mapping-inhibit
  bool inhibitAny = false;                   // initial-any-policy-inhibit
};

/// The least that keys of the leaf and of every certificate on the way may be, in bits. The
/// defaults are those of 112 bits of strength (SP 800-57): RSA and DSA of 2,048 bits, and P-224, so
/// that P-192 is none that is allowed unless ecBits says so. Whatever is allowed, a key has to be
/// one that signatures can be checked with.
struct KeyOptions {
  unsigned rsaBits = 2048;  // of the modulus
  unsigned dsaBits = 2048;  // of p
  unsigned ecBits = 224;    // of the field, of curves but Ed25519
  /// The curves that are allowed; none: all of ecBits. Where any is named, Ed25519 is allowed only
  /// by its own OID, 1.3.101.112.
  std::vector<Oid> curves = {};
};

/// What one verification may cost. A limit keeps ways from being tried; it never discards a way
/// that was found. To say why none holds takes at most 4,096 steps, 2,048 of signatures and 65,536
/// comparisons more, and never more of them than the limit itself or 256.
struct Limits {
  uint32_t certificates = 16;    // of one way, leaf and anchor included; never more than 100
  uint32_t candidates = 32'768;  // looks at issuers, and as many steps of the search
  uint32_t signatures = 16'384;  // by key: RSA-2048 counts 2, P-256 4, larger curves 24
  /// Of names with constraints, of policies and their qualifiers, looks at CRLs and their signers,
  /// and what each way that holds says but the first. A name is looked for among n constraints of
  /// its form in log2 n comparisons, so that a leaf with 10,000 names under 10,000 permitted and
  /// 10,000 excluded ones, which takes 280,003, holds with room to spare.
  uint32_t comparisons = 500'000;
};

/// What one verification has cost, counted as Limits counts; what was known before costs the same.
struct Cost {
  uint32_t candidates = 0;   // looks at issuers
  uint32_t signatures = 0;   // of signatures, by key
  uint32_t comparisons = 0;  // of names, policies and CRLs
};

class Path;

/// The last word of a caller: a reference to a function that cannot throw, which lives as long as
/// the call that it is given to.
class PathJudge {
 public:
  PathJudge() noexcept = default;
  /// Refers to a function object or function, which is not copied.
  template <class F>
  requires(!std::is_same_v<std::remove_cvref_t<F>, PathJudge> &&
           std::is_nothrow_invocable_r_v<bool, F&, const Path&>) PathJudge(F& judge)
  noexcept
      : m_judge(const_cast<void*>(static_cast<const void*>(std::addressof(judge)))),
        m_call([](void* f, const Path& path) noexcept -> bool {
          return (*static_cast<std::remove_reference_t<F>*>(f))(path);
        }) {}

  /// Whether there is any to ask.
  explicit operator bool() const noexcept { return m_call != nullptr; }
  /// Asks it. Undefined where there is none.
  bool operator()(const Path& path) const noexcept { return m_call(m_judge, path); }

 private:
  void* m_judge = nullptr;
  bool (*m_call)(void*, const Path&) noexcept = nullptr;
};

/// What is asked of a way. Making one takes memory for an empty set of CRLs: throws std::bad_alloc.
struct VerifyOptions {
  Purpose purpose = Purpose::unsaid;                // what the leaf is wanted for; has to be said
  Target target = {};                               // asked for with Purpose::server
  std::optional<std::chrono::sys_seconds> at = {};  // now; both ends of a validity count
  Profile profile = Profile::basic;                 // the rules beyond those of validation
  KeyOptions keys = {};                             // what keys have to be
  bool allowSha1 = false;        // in signatures of the way; an anchor's own is not judged
  bool judgeAnchorDates = true;  // whether an anchor that is a certificate may have expired
  PolicyOptions policies = {};   // what is asked of policies
  CrlSet crls = {};              // those that are to hand
  Revocation revocation = Revocation::notAsked;  // for whom they have to vouch
  uint32_t paths = 1;                            // how many ways to look for
  PathJudge accept = {};  // called once for each way that holds; false makes it none
  Limits limits = {};     // what it may cost
  /// Looked at between steps; true ends the search. Lives as long as the call, as what `accept`
  /// refers to does; any thread may set it.
  const std::atomic<bool>* cancel = nullptr;
};

/// A certificate and its issuers, leaf first; behind the last the anchor.
class VELMORA_API Path {
 public:
  std::vector<Certificate> certificates;  // the anchor's last, if it is one
  std::optional<TrustAnchor> anchor;      // none: the way came to no anchor
  std::vector<Finding> findings;          // by certificate, then by gravity, then by offset

  /// The gravest failure; none when there is none.
  Reason reason() const noexcept;
};

/// A policy that holds for the whole way: one of the user-constrained set of RFC 9618 (§6.1.5 g).
struct HeldPolicy {
  Oid id;  // in the anchor's terms, as PolicyOptions::accepted names it: before any mapping
  std::vector<PolicyQualifier> qualifiers;  // that certificates of the way give it by that name
};

/// A way that holds, and for what it does. verify() alone makes one, so that whoever asks for one
/// as a parameter cannot be called without.
class VerifiedPath {
 public:
  /// The whole way, with what was found on it. It lives as long as this object.
  const Path& path() const& noexcept { return m_path; }
  const Path& path() const&& = delete;
  /// The certificate that was asked about.
  const Certificate& leaf() const& noexcept { return m_path.certificates.front(); }
  const Certificate& leaf() const&& = delete;
  /// Whom the trust comes from.
  const TrustAnchor& anchor() const& noexcept { return *m_path.anchor; }
  const TrustAnchor& anchor() const&& = delete;

  /// What it was verified for.
  Purpose purpose() const noexcept { return m_purpose; }
  /// Whom it was verified to speak for, if the target was judged.
  const Target& target() const& noexcept { return m_target; }
  const Target& target() const&& = delete;
  /// The moment at which it holds.
  std::chrono::sys_seconds at() const noexcept { return m_at; }
  /// The profile whose rules it passed.
  Profile profile() const noexcept { return m_profile; }
  /// Whether anyPolicy holds for the way, which stands for every policy.
  bool holdsAnyPolicy() const noexcept { return m_anyPolicy; }
  /// The policies that hold for the whole way, but anyPolicy.
  const std::vector<HeldPolicy>& policies() const& noexcept { return m_policies; }
  const std::vector<HeldPolicy>& policies() const&& = delete;
  /// What was asked of policies and of revocation: what is held or vouched for says nothing of
  /// what had to be.
  const PolicyOptions& askedPolicies() const& noexcept { return m_askedPolicies; }
  const PolicyOptions& askedPolicies() const&& = delete;
  /// What was asked of revocation.
  Revocation revocation() const noexcept { return m_revocation; }
  /// Whether a CRL, or noRevAvail, vouched for the leaf, and for every certificate but the anchor.
  bool isLeafNotRevoked() const noexcept { return m_leafVouched; }
  /// The same for every certificate but the anchor.
  bool isNothingRevoked() const noexcept { return m_allVouched; }

 private:
  friend class PathBuilder;
  VerifiedPath() = default;

  Path m_path;
  Purpose m_purpose = Purpose::unsaid;
  Target m_target;
  std::chrono::sys_seconds m_at{};
  Profile m_profile = Profile::basic;
  bool m_anyPolicy = false;
  std::vector<HeldPolicy> m_policies;
  PolicyOptions m_askedPolicies;
  Revocation m_revocation = Revocation::notAsked;
  bool m_leafVouched = false;
  bool m_allVouched = false;
};

/// What a verification answers.
struct [[nodiscard]] Verification {
  std::vector<VerifiedPath> verified;  // none: the answer is no
  Path furthest;                       // then the way that came furthest, with all its findings
  Reason reason = Reason::none;        // its gravest failure, or what ended the search before
  Cost used = {};                      // what it cost

  /// Whether any way holds.
  explicit operator bool() const noexcept { return !verified.empty(); }

  /// The reason as a word that does not change: the id of the finding that it is of, as of a
  /// departure its own, else reasonId(reason); "none" when there is a way.
  VELMORA_API std::string_view id() const noexcept;
  /// The reason as a sentence for people; empty when there is a way.
  VELMORA_API std::string text() const;
};

/// Looks for ways from `leaf` over `intermediates` to `anchors` that hold (§6.1), the shortest
/// first. Takes no lock but that of what the anchors keep, for moments in which nothing is
/// computed; writes no log, and asks no clock when `options.at` is given. Memory that runs out is
/// Reason::outOfMemory. The answer depends on the arguments alone, the flag `cancel` among them:
/// not on the order of a set, on addresses, nor on what was asked before. Any number of threads may
/// ask with the same arguments.
VELMORA_API Verification verify(const Certificate& leaf, const TrustAnchors& anchors,
                                const CertificateSet& intermediates,
                                const VerifyOptions& options) noexcept;

/// The same with the octets that a peer sent, leaf first, the others in any order; `more` are
/// intermediates that are known besides. Of those behind the leaf, what is no certificate is passed
/// over.
VELMORA_API Verification verify(std::span<const Bytes> presented, const TrustAnchors& anchors,
                                const VerifyOptions& options, const CertificateSet& more) noexcept;
VELMORA_API Verification verify(std::span<const Bytes> presented, const TrustAnchors& anchors,
                                const VerifyOptions& options) noexcept;

}  // namespace velmora
