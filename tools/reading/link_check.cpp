#include "tools/reading/link_check.h"

#include <algorithm>
#include <new>

#include "tools/reading/dates.h"
#include "tools/render/oid_text.h"
#include "velmora/support/asn1/vm_asn1.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/log/first_error_log.h"
#include "velmora/support/text/whole.h"
#include "velmora/x509/signature_algorithms.h"

namespace velmora::tool {

namespace {

constexpr size_t kEd25519SignatureSize = 64;
constexpr unsigned kLeastRsaBits = 2048;

// An algorithm that is checked to the letter, the key that it is for and its hash.
struct Algorithm {
  std::string_view oid;
  KeyKind key;
  int hashId;  // of _vmHash; of RSASSA-PSS the parameters tell
};

constexpr std::string_view kPssOid = "1.2.840.113549.1.1.10";

constexpr Algorithm kAlgorithms[] = {
    {"1.2.840.113549.1.1.5", KeyKind::rsa, _vmHash::kSha1},
    {"1.2.840.113549.1.1.11", KeyKind::rsa, _vmHash::kSha256},
    {"1.2.840.113549.1.1.12", KeyKind::rsa, _vmHash::kSha384},
    {"1.2.840.113549.1.1.13", KeyKind::rsa, _vmHash::kSha512},
    {kPssOid, KeyKind::rsaPss, _vmHash::kUnknown},
    {"1.2.840.10045.4.1", KeyKind::ec, _vmHash::kSha1},
    {"1.2.840.10045.4.3.2", KeyKind::ec, _vmHash::kSha256},
    {"1.2.840.10045.4.3.3", KeyKind::ec, _vmHash::kSha384},
    {"1.2.840.10045.4.3.4", KeyKind::ec, _vmHash::kSha512},
    {"1.2.840.10040.4.3", KeyKind::dsa, _vmHash::kSha1},
    {"2.16.840.1.101.3.4.3.2", KeyKind::dsa, _vmHash::kSha256},
    {"1.3.101.112", KeyKind::ed25519, _vmHash::kSha512},
};

std::string_view hashName(int hashId) {
  switch (hashId) {
    case _vmHash::kSha1:
      return "SHA-1";
    case _vmHash::kSha256:
      return "SHA-256";
    case _vmHash::kSha384:
      return "SHA-384";
    case _vmHash::kSha512:
      return "SHA-512";
    default:
      return {};
  }
}

std::string oidText(std::string_view oid) {
  StringBuffer text;
  appendOid(oid, OidStyle::kNamed, text);
  return std::string(text.view());
}

struct PssParameters {
  int hashId = _vmHash::kUnknown;
  int maskHashId = _vmHash::kUnknown;
  int saltLength = 0;
};

// Some DER that was read before.
RefOwner<_vmAsn1> decoded(Bytes der) {
  LogNull log;
  unsigned consumed = 0;
  RefOwner<_vmAsn1> element(
      _vmAsn1::DecodeToAsn(octetsOf(der).data(), static_cast<unsigned>(der.size()), consumed, log));
  if (!element) throw std::bad_alloc();
  return element;
}

// The parameters of RSASSA-PSS; with an unknown hash when they cannot be read.
PssParameters pssParameters(_vmAsn1& algorithm) {
  LogNull log;
  PssParameters read;
  const bool isRead =
      _vmAsn1::parseRsaSsaPssParams(algorithm, read.hashId, read.maskHashId, read.saltLength, log);
  return isRead ? read : PssParameters();
}

// Whether a key that is for RSASSA-PSS alone allows the parameters: without some of its own it
// allows any, else these hashes and no shorter salt (RFC 4055 §1.2 and §3.3).
bool pssKeyAllows(const Certificate& signer, const PssParameters& pss) {
  const RefOwner<_vmAsn1> key = decoded(signer.parts().spki);
  _vmAsn1* const algorithm = key->getAsnPart(0);
  const int parts = algorithm == nullptr ? 0 : algorithm->numAsnParts();
  if (parts == 0) throw std::bad_alloc();
  if (parts == 1) return true;
  const PssParameters bound = pssParameters(*algorithm);
  return pss.hashId == bound.hashId && pss.maskHashId == bound.maskHashId &&
         pss.saltLength >= bound.saltLength;
}

// One check on its way: each step either leaves the report open or closes it.
class SignatureCheck {
 public:
  SignatureCheck(const KnownCertificate& certificate, const KnownCertificate& signer)
      : m_certificate(certificate), m_signer(signer) {
    m_report.key = signer.certificate.describedKey();
  }

  SignatureReport run() {
    m_certificate.loaded.get().getCertDer(m_der);
    const bool read = readCertificateSignature(whole(m_der), m_parts, m_log);
    whole(m_parts.toBeSigned);
    whole(m_parts.signature);
    whole(m_parts.algorithmOid);
    if (!read) return close(SignatureVerdict::refused, error());
    m_report.algorithm = m_parts.algorithmOid.view();
    const Parts parts = m_certificate.certificate.parts();
    if (!std::ranges::equal(parts.innerAlgorithm, parts.outerAlgorithm)) {
      return close(SignatureVerdict::refused,
                   "the certificate names two different signature algorithms, inside and behind "
                   "what is signed");
    }
    return chooseAlgorithm();
  }

 private:
  // What the library said first, as part of a line.
  std::string error() const {
    std::string_view text = m_log.error();
    if (text.ends_with('.')) text.remove_suffix(1);
    return std::string(text);
  }

  SignatureReport close(SignatureVerdict verdict, std::string reason) {
    m_report.verdict = verdict;
    m_report.reason = std::move(reason);
    return std::move(m_report);
  }

  SignatureReport cannotCheck(std::string_view why) {
    return close(SignatureVerdict::cannotCheck,
                 "cannot check this algorithm: " + oidText(m_report.algorithm) + std::string(why));
  }

  SignatureReport chooseAlgorithm() {
    const auto algorithm =
        std::find_if(std::begin(kAlgorithms), std::end(kAlgorithms),
                     [&](const Algorithm& each) { return each.oid == m_report.algorithm; });
    if (algorithm == std::end(kAlgorithms)) return cannotCheck("");
    m_hashId = algorithm->hashId;
    if (algorithm->oid == kPssOid) {
      m_pss = pssParameters(*decoded(m_certificate.certificate.parts().outerAlgorithm));
      m_hashId = m_pss.hashId;
    }
    m_report.hash = hashName(m_hashId);
    if (m_report.hash.empty()) return cannotCheck(" with parameters that are not understood");
    if (!fitsKey(*algorithm)) {
      std::string reason = "the algorithm " + oidText(algorithm->oid);
      reason += " does not fit the issuer's key, which is ";
      const std::string type = keyType(m_report.key);
      reason += type.empty() ? "unknown" : oidText(type);
      if (algorithm->key == m_report.key.kind) reason += ", bound to other parameters";
      return close(SignatureVerdict::refused, std::move(reason));
    }
    warn(*algorithm);
    return verify(*algorithm);
  }

  bool fitsKey(const Algorithm& algorithm) const {
    const KeyKind kind = m_report.key.kind;
    if (algorithm.key != KeyKind::rsaPss) return kind == algorithm.key;
    return kind == KeyKind::rsa ||
           (kind == KeyKind::rsaPss && pssKeyAllows(m_signer.certificate, m_pss));
  }

  void warn(const Algorithm& algorithm) {
    if (m_hashId == _vmHash::kSha1) {
      m_report.warnings.emplace_back("SHA-1 no longer protects against forged certificates");
    }
    const PublicKey& key = m_report.key;
    const bool isRsa = key.kind == KeyKind::rsa || key.kind == KeyKind::rsaPss;
    if (isRsa && key.bits < kLeastRsaBits) {
      m_report.warnings.emplace_back("an RSA key below 2048 bits is too short");
    }
    if (algorithm.key == KeyKind::dsa) {
      m_report.warnings.emplace_back("DSA is no longer approved for signatures");
    }
  }

  SignatureReport verify(const Algorithm& algorithm) {
    const size_t size = m_parts.signature.size();
    if (algorithm.key == KeyKind::ed25519 && size != kEd25519SignatureSize) {
      return close(SignatureVerdict::refused,
                   "an Ed25519 signature has 64 bytes, this one " + std::to_string(size));
    }
    DataBuffer keyBytes;
    _vmPublicKey key;
    if (!m_signer.loaded.get().get_PublicKey(keyBytes, m_log) ||
        !loadIssuerKey(m_parts, keyBytes, key, m_log) || key.isEmpty()) {
      const std::string reason = error();
      return close(SignatureVerdict::cannotCheck,
                   "cannot check with this key: " + (reason.empty() ? "Invalid key" : reason));
    }
    SignatureForm form;
    if (!verifyWithKey(m_parts, key, form, m_log)) {
      return close(SignatureVerdict::wrong, "wrong signature: " + error());
    }
    std::string unlike;
    if (algorithm.key == KeyKind::rsa) unlike = unlikePkcs1(form);
    if (algorithm.key == KeyKind::rsaPss) unlike = unlikePss(form.pss);
    if (!unlike.empty()) return close(SignatureVerdict::refused, std::move(unlike));
    return close(SignatureVerdict::good, "");
  }

  // In what a signature that verified is another than the algorithm says; empty when in nothing.
  std::string unlikePkcs1(const SignatureForm& form) const {
    if (_vmHash::oidToHashAlg(form.hashOid) != m_hashId) {
      return "the signature names the hash " + oidText(form.hashOid.view()) +
             ", its algorithm another one";
    }
    return form.digestWasShorter ? "the digest in the signature lacks its leading zeros" : "";
  }

  std::string unlikePss(const PssForm& form) const {
    if (form.maskHashId != m_pss.maskHashId) {
      return "the signature was masked with " + std::string(hashName(form.maskHashId)) +
             ", its algorithm says with " + std::string(hashName(m_pss.maskHashId));
    }
    if (form.saltSize == static_cast<size_t>(m_pss.saltLength)) return {};
    return "the signature has a salt of " + std::to_string(form.saltSize) +
           " bytes, its algorithm says of " + std::to_string(m_pss.saltLength);
  }

  const KnownCertificate& m_certificate;
  const KnownCertificate& m_signer;
  DataBuffer m_der;
  CertificateSignature m_parts;
  FirstErrorLog m_log;
  SignatureReport m_report;
  int m_hashId = _vmHash::kUnknown;
  PssParameters m_pss;  // of RSASSA-PSS alone
};

std::string isoText(std::chrono::sys_seconds date) {
  StringBuffer text;
  momentOf(date).appendIso8601(text);
  return std::string(text.view());
}

void checkDates(const Certificate& certificate, const VelmoraSysTime& at, Findings& findings) {
  const Result<Validity> validity = certificate.validity();
  const std::chrono::sys_seconds now{std::chrono::seconds(at.toUnixSeconds())};
  if (!validity) {
    findings.failures.emplace_back("a date of it cannot be read");
  } else if (now < validity->notBefore) {
    findings.failures.push_back("not valid before " + isoText(validity->notBefore));
  } else if (now > validity->notAfter) {
    findings.failures.push_back("expired at " + isoText(validity->notAfter));
  }
}

}  // namespace

std::string keyType(const PublicKey& key) {
  return key.kind == KeyKind::other ? key.algorithm.text() : std::string(key.kindName());
}

SignatureReport checkSignature(const KnownCertificate& certificate,
                               const KnownCertificate& signer) {
  return SignatureCheck(certificate, signer).run();
}

void checkCertificate(const KnownCertificate& certificate, const VelmoraSysTime& at,
                      Findings& findings) {
  checkDates(certificate.certificate, at, findings);
  if (!certificate.certificate.version()) {
    findings.failures.emplace_back("its version cannot be read");
  }
  for (const std::string& oid : certificate.unknownCritical) {
    findings.failures.push_back("the critical extension " +
                                (oid.empty() ? "without an OID" : oidText(oid)) + " is unknown");
  }
  if (certificate.repeatsExtension) findings.failures.emplace_back("an extension is there twice");
  for (const std::string& oid : certificate.uncheckedConstraints) {
    findings.warnings.push_back("the extension " + oidText(oid) + " is not evaluated");
  }
}

void checkIssuer(const KnownCertificate& issuer, size_t below, Findings& findings) {
  const Result<BasicConstraints> constraints = issuer.certificate.basicConstraints();
  const bool mayLackThem = issuer.selfIssued && issuer.certificate.version().value_or(0) != 3;
  if (constraints && !constraints->ca) {
    findings.failures.emplace_back("by its basicConstraints it is not a CA");
  } else if (constraints && constraints->pathLength && below > *constraints->pathLength) {
    findings.failures.push_back("its path length allows " +
                                std::to_string(*constraints->pathLength) + " CAs below it, not " +
                                std::to_string(below));
  } else if (!constraints && !constraints.error().isAbsent()) {
    findings.failures.emplace_back("its basicConstraints cannot be read");
  } else if (!constraints && !mayLackThem) {
    findings.failures.emplace_back("it is not a CA: it has no basicConstraints");
  }
  const Result<KeyUsage> usage = issuer.certificate.keyUsage();
  if (!usage && !usage.error().isAbsent()) {
    findings.failures.emplace_back("its keyUsage cannot be read");
  } else if (usage && !usage->has(KeyUse::keyCertSign)) {
    findings.failures.emplace_back("its keyUsage does not allow it to sign certificates");
  }
}

}  // namespace velmora::tool
