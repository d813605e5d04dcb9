#include <algorithm>
#include <functional>

#include "fuzz/fuzz_target.h"
#include "tests/certificate/all_answers.h"
#include "velmora/certificate/certificate.h"
#include "velmora/certificate/issuer_key.h"
#include "velmora/reading/crossing.h"
#include "velmora/reading/reading.h"
#include "velmora/reading/writing.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/key/vm_public_key.h"
#include "velmora/support/trust/trusted_roots.h"
#include "velmora/x509/trusted_root_registration.h"
#include "velmora/x509/velmora_x509.h"

// Property: every question to the typed certificate ends in a value or in an error inside the
// input; whatever it answers, VelmoraX509 answers alike; an answer that is malformed departs from
// the standards; and PEM, PKCS #7 and objects made of a certificate lead back to it. The typed face
// is strict and the other lenient, so that an error of the first says nothing about the second.

namespace velmora {
namespace {

using fuzz::require;

std::string charactersOf(Bytes octets) {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

std::string encoded(Bytes octets, const char* encoding) {
  DataBuffer bytes;
  StringBuffer text;
  bytes.append(octets.data(), octets.size());
  bytes.encodeDB(encoding, text);
  return std::string(text.view());
}

// Asks everything of a typed certificate, and counts the answers that are malformed.
class Questions {
 public:
  explicit Questions(const Certificate& certificate) : m_typed(certificate) {}

  void ask() {
    askFields();
    askExtensions();
    const std::vector<Departure> departures = m_typed.departures();
    require(m_malformed == 0 || !departures.empty(), "what is malformed departs");
    for (size_t i = 0; i < departures.size(); ++i) {
      const Departure& it = departures[i];
      require(i == 0 || departures[i - 1].offset <= it.offset, "departures are in order");
      require(it.offset < m_typed.der().size(), "a departure is inside");
      require(!it.id().empty() && !it.message().empty() && !it.clause().empty(), "it has words");
    }
  }

 private:
  template <class T>
  void answered(const Result<T>& answer) {
    if (answer) return;
    const Error& error = answer.error();
    require(error.offset <= m_typed.der().size() && !error.message().empty(), "an error is inside");
    require(error.code != ErrorCode::outOfMemory, "memory suffices");
    if (!error.isAbsent() && error.code != ErrorCode::unknownAlgorithm) ++m_malformed;
  }

  void askFields() {
    const Result<Validity> validity = m_typed.validity();
    const Result<PublicKey> key = m_typed.publicKey();
    answered(m_typed.version());
    answered(validity);
    answered(m_typed.notBefore());
    answered(m_typed.notAfter());
    answered(key);
    require(!validity || (validity->notBefore == *m_typed.notBefore() &&
                          validity->notAfter == *m_typed.notAfter()),
            "the same dates");
    require(!key || m_typed.describedKey().bits == key->bits, "the same key");
    answered(m_typed.signatureScheme());
    for (const Name& name : {m_typed.subject(), m_typed.issuer()}) {
      answered(name.attributes());
      const Result<std::string> found = name.find(oid::commonName);
      require(found || name.attributes() || !found.error().isAbsent(), "none is found in no name");
      askName(name);
    }
    require(m_typed.checkSignature(m_typed).message().empty() ==
                (m_typed.signedBy(m_typed) == SignatureVerdict::good),
            "what is not good says why");
    const Name subject = m_typed.subject(), issuer = m_typed.issuer();
    require(subject.matches(issuer) == (subject.folded() && subject.folded() == issuer.folded()),
            "names match when they fold to the same");
    require(!m_typed.isSelfIssued() || subject.matches(issuer), "self-issued");
    for (const auto& critical :
         {m_typed.unknownCriticalExtensions(), m_typed.criticalExtensions()}) {
      for (const Oid& id : critical) {
        const Result<Extension> found = m_typed.extension(id);
        require(id.isEmpty() || found || !found.error().isAbsent(),
                "a critical extension is there");
      }
    }
  }

  void askExtensions() {
    test::forEachAnswer(m_typed, [&](const Oid&, const auto& get) {
      const auto answer = get();
      answered(answer);
      if constexpr (requires { askName(answer->front()); }) {
        if (answer) askNames(*answer);
      }
    });
    const std::vector<Extension> listed = m_typed.listedExtensions();
    require(m_typed.extensions().size() <= listed.size(), "what is listed");
    for (const Extension& each : listed) answered(m_typed.content(each));
    const auto names = m_typed.subjectAltNames();
    auto cursor = m_typed.subjectAltNameCursor();
    require(names.has_value() == cursor.has_value(), "the same names");
    size_t count = 0;
    for (PlacedName each; cursor && cursor->next(each);) ++count;
    require(!names || (names->size() == count && m_typed.dnsNames().size() <= count), "as many");
    const Result<NameConstraints> constraints = m_typed.nameConstraints();
    if (constraints) askNames(constraints->permitted), askNames(constraints->excluded);
  }

  void askName(const Name& name) {
    const Result<std::string> text = name.rfc4514();
    require(text || !name.attributes() || text.error().code == ErrorCode::tooLarge,
            "a name that reads has a text");
  }

  void askName(const GeneralName& name) {
    if (const auto* const dn = std::get_if<Name>(&name)) askName(*dn);
    if (const auto* const ip = std::get_if<IpAddress>(&name)) require(!ip->text().empty(), "IP");
    if (const auto* const ip = std::get_if<IpRange>(&name)) require(!ip->text().empty(), "range");
    if (const auto* const other = std::get_if<OtherName>(&name)) {
      require(other->text().has_value() || !other->text().error().isAbsent(), "an other name");
    }
    const auto* const raw = std::get_if<RawName>(&name);
    require(raw == nullptr || raw->offset + raw->der.size() <= m_typed.der().size(), "raw");
  }

  void askName(const Access& access) { askName(access.location); }

  void askName(const DistributionPoint& point) {
    askNames(point.fullName);
    askNames(point.crlIssuer);
  }

  template <class T>
  void askNames(const std::vector<T>& names) {
    for (const T& it : names) askName(it);
  }

  const Certificate& m_typed;
  size_t m_malformed = 0;
};

// What both faces say of one certificate.
class Faces {
 public:
  Faces(const Certificate& typed, VelmoraX509& frozen) : m_typed(typed), m_frozen(frozen) {}

  void compare() {
    compareFields();
    compareDigests();
    compareDates();
    compareNames(true, m_typed.subject());
    compareNames(false, m_typed.issuer());
    compareKeys();
    if (isListWhole()) compareExtensions();
    compareSignatures();
  }

 private:
  template <class Out>
  std::optional<std::string> frozen(bool (VelmoraX509::*get)(Out&, LogBase&)) {
    Out out;
    if (!(m_frozen.*get)(out, m_log)) return std::nullopt;
    return std::string(out.view());
  }

  void compareFields() {
    const Parts parts = m_typed.parts();
    DataBuffer der;
    m_frozen.getCertDer(der);
    require(der.view() == charactersOf(parts.der), "the same octets");
    require(frozen(&VelmoraX509::get_SerialNumber) == m_typed.serialHex(),
            "the same serial number");
    const int version = m_typed.version().value_or(0);
    // Where the field is absent, VelmoraX509 takes the first element with a context-specific tag.
    if (!parts.version.empty() && version > 0 && version <= 10) {
      require(frozen(&VelmoraX509::get_Version).value_or("1") == std::to_string(version),
              "the same version");
    }
    if (const Oid algorithm = m_typed.signatureAlgorithm(); !algorithm.isEmpty()) {
      require(frozen(&VelmoraX509::get_SignatureAlgorithm) == algorithm.text(),
              "the same algorithm");
      require(charactersOf(parts.innerAlgorithm) != charactersOf(parts.outerAlgorithm) ||
                  frozen(&VelmoraX509::get_Signature) == algorithm.text(),
              "the same algorithm inside");
    }
    require(parts.signature.empty() ||
                frozen(&VelmoraX509::get_SignatureValue) == charactersOf(parts.signature),
            "the same signature");
  }

  void compareDigests() {
    XString thumbprint;
    m_frozen.get_Sha1ThumbprintX(thumbprint, m_log);
    require(thumbprint.view() == encoded(m_typed.fingerprint(Hash::sha1), "hex"),
            "the same thumbprint");
    DataBuffer signedPart, hash;
    const Bytes tbs = m_typed.parts().tbs;
    _vmHash::doHash(tbs.data(), static_cast<unsigned>(tbs.size()), _vmHash::kSha384, signedPart);
    require(m_frozen.getCertHash(_vmHash::kSha384, hash, m_log) && hash.equals(signedPart),
            "the same hash of what is signed");
    for (const Hash kind : {Hash::sha1, Hash::sha256, Hash::sha384, Hash::sha512}) {
      XString pin;
      require(m_frozen.getSpkiFingerprint(StringBuffer(hashName(kind)), StringBuffer("base64"), pin,
                                          m_log) &&
                  pin.view() == encoded(m_typed.spkiPin(kind), "base64"),
              "the same pin");
    }
  }

  void compareDates() {
    const Result<Validity> validity = m_typed.validity();
    if (!validity) return;
    for (const bool from : {true, false}) {
      VelmoraSysTime date;
      const auto moment = from ? validity->notBefore : validity->notAfter;
      require(m_frozen.get_Valid_To_or_From_UTC(from, date, m_log) &&
                  date.toUnixSeconds() == moment.time_since_epoch().count(),
              "the same dates");
    }
  }

  // Names of the string types that VelmoraX509 does not take for UTF-16 but where they are.
  void compareNames(bool forSubject, const Name& name) {
    const auto attributes = name.attributes();
    if (!attributes) return;
    std::string values;
    for (const Attribute& it : *attributes) {
      if (it.kind == TextKind::none || it.kind >= TextKind::universal || it.type.isEmpty()) return;
      if (!values.empty()) values += ", ";
      values += it.text.find(',') == std::string::npos ? it.text : '"' + it.text + '"';
    }
    XString line;
    require(m_frozen.getDN(forSubject, false, line, m_log, 0) && line.view() == values,
            "the same values in a name");
    for (const Attribute& it : *attributes) {
      XString value;
      const std::string type = it.type.text();
      const bool found = forSubject ? m_frozen.get_SubjectValue(type.c_str(), value, m_log)
                                    : m_frozen.get_IssuerValue(type.c_str(), value, m_log);
      require(found && name.find(it.type).value_or("none") == value.view(), "the same attribute");
    }
  }

  void compareKeys() {
    const Result<PublicKey> key = m_typed.publicKey();
    if (!key) return;
    require(key->algorithm.isEmpty() ||
                frozen(&VelmoraX509::get_PublicKeyAlgorithm) == key->algorithm.text(),
            "the same algorithm of the key");
    if (key->kind == KeyKind::other) return;
    DataBuffer der;
    _vmPublicKey loaded;
    const bool loads = m_frozen.get_PublicKey(der, m_log) && loaded.loadAnyDer(der, m_log);
    const bool isUsable = IssuerKey(m_typed).isUsable();
    require(loads || !isUsable, "a key that is usable loads");
    require(IssuerKey::isUsable(m_typed.parts().spki) == isUsable, "what is usable becomes ready");
    // 32 octets are an Ed25519 key to loadAnyDer, whatever they are.
    if (!loads || (der.size() == 32 && key->kind != KeyKind::ed25519)) return;
    const bool isRsa = key->kind == KeyKind::rsa || key->kind == KeyKind::rsaPss;
    require(loaded.typeName() == (isRsa ? "RSA" : key->kindName()), "the same kind of key");
    require(loaded.bitLength() == key->bits || key->kind == KeyKind::ed25519, "the same bits");
  }

  // In a broken list VelmoraX509 finds OIDs at places that are none.
  bool isListWhole() const {
    const Result<Extension> none = m_typed.extension("2.5.29.999");
    return !none && none.error().isAbsent();
  }

  void compareExtensions() {
    std::vector<Oid> seen;
    for (const Extension& it : m_typed.extensions()) {
      if (it.id.isEmpty() || std::ranges::find(seen, it.id) != seen.end()) continue;
      seen.push_back(it.id);
      DataBuffer value;
      require(m_frozen.getExtensionDerDataByOid(it.id.text().c_str(), value, m_log) &&
                  value.view() == charactersOf(it.value),
              "the same value of an extension");
    }
    if (const auto id = m_typed.subjectKeyId()) {
      require(frozen(&VelmoraX509::getSubjectKeyIdentifier) == encoded(*id, "base64"), "own key");
    }
    if (const auto id = m_typed.authorityKeyId(); id && id->keyId && !haveRaw(id->issuer)) {
      require(frozen(&VelmoraX509::getAuthorityKeyIdentifier) == encoded(*id->keyId, "base64"),
              "issuer's key");
    }
    if (const auto constraints = m_typed.basicConstraints()) compareConstraints(*constraints);
    if (const auto names = m_typed.subjectAltNames()) compareAddresses(*names);
  }

  void compareConstraints(const BasicConstraints& typed) {
    StringBuffer xml;
    require(m_frozen.getExtensionAsnXmlByOid("2.5.29.19", xml, m_log), "constraints have XML");
    const std::string text(xml.view());
    require(typed.ca == (text.find("<bool>FF</bool>") != std::string::npos), "the same cA");
    const size_t at = text.find("<int>");
    require(typed.pathLength.has_value() == (at != std::string::npos), "a path length in both");
    if (!typed.pathLength || *typed.pathLength == UINT64_MAX) return;
    require(std::stoull(text.substr(at + 5), nullptr, 16) == *typed.pathLength, "the same length");
  }

  // Octets that are no general name need not be ASN.1, and may be another name to VelmoraX509.
  static bool haveRaw(const std::vector<GeneralName>& names) {
    return std::ranges::any_of(
        names, [](const GeneralName& it) { return std::holds_alternative<RawName>(it); });
  }

  // The names that VelmoraX509 has texts of.
  void compareAddresses(const std::vector<GeneralName>& names) {
    if (haveRaw(names)) return;
    std::string expected, addresses;
    for (const GeneralName& it : names) {
      const auto add = [&](const char* tag, const std::string& text, bool isAddress) {
        expected += std::string(tag) + ' ' + text + '\n';
        if (isAddress) addresses += (addresses.empty() ? "" : ",") + text;
      };
      if (const auto* const email = std::get_if<EmailAddress>(&it)) {
        add("rfc822Name", email->text, true);
      } else if (const auto* const dns = std::get_if<DnsName>(&it)) {
        add("dnsName", dns->text, true);
      } else if (const auto* const uri = std::get_if<Uri>(&it)) {
        add("uniformResourceIdentifier", uri->text, false);
      }
    }
    require(namesInXml() == expected, "the same alternative names");
    const auto joined = frozen(&VelmoraX509::getRfc822Name);
    require(addresses.empty() || joined == addresses, "the same addresses");
  }

  std::string namesInXml() {
    XString xml;
    const _clsOwner tree(ClsXml::createNewCls());
    require(m_frozen.getSubjectAlternativeNameXml(xml, m_log), "alternative names have XML");
    require(tree->loadXml(xml.view(), false, m_log), "which loads");
    std::string names;
    for (bool more = tree->FirstChild2(); more; more = tree->NextSibling2()) {
      if (tree->tagEquals("directoryName") || tree->tagEquals("name")) continue;
      names.append(tree->tagView()).append(" ").append(tree->contentView()).append("\n");
    }
    return names;
  }

  void compareSignatures() {
    const bool isSelf = m_frozen.isIssuerSelf(m_log);
    require(isSelf || !(m_typed.subject() == m_typed.issuer()), "a name is itself");
    if (m_typed.signedBy(m_typed) != SignatureVerdict::good) return;
    require(!isSelf || addTrustedRoot(m_frozen, nullptr, m_log), "a root registers");
    require(m_frozen.verifyCertSignature(&m_frozen, m_log), "what is good is good to both");
    TrustedRoots::clear(nullptr);
  }

  const Certificate& m_typed;
  VelmoraX509& m_frozen;
  LogNull m_log;
};

void leadBack(const Certificate& certificate) {
  const RefOwner<VelmoraX509> object = objectOf(certificate);
  require(object && certificateOf(*object) && *certificateOf(*object) == certificate, "objects");
  const std::vector both{certificate, certificate};
  for (const Reading& reading : {readCertificates(toPem(both)), readCertificates(toP7b(both))}) {
    require(reading.complete() && reading.certificates == both, "what is written reads");
  }
  require(std::hash<Certificate>()(certificate) == std::hash<Certificate>()(both[0]), "one hash");
}

void hold(const Certificate& certificate) {
  Questions(certificate).ask();
  LogNull log;
  VelmoraX509 object;
  const Bytes der = certificate.der();
  require(object.loadX509DerAlt(reinterpret_cast<const unsigned char*>(der.data()),
                                static_cast<unsigned>(der.size()), nullptr, log),
          "what is a certificate loads");
  Faces(certificate, object).compare();
  leadBack(certificate);
}

}  // namespace
}  // namespace velmora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span input(data, size);
  if (const auto certificate = velmora::Certificate::parse(input)) {
    velmora::hold(*certificate);
  } else {
    const velmora::Reading reading = velmora::readCertificates(input);
    const bool isAnswered = !reading.certificates.empty() || !reading.failures.empty();
    velmora::fuzz::require(isAnswered, "an input has certificates or a failure");
    for (const auto& it : reading.certificates) velmora::hold(it);
  }
  return 0;
}
