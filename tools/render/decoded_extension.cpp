#include "tools/render/decoded_extension.h"

#include <algorithm>
#include <new>
#include <span>
#include <string>
#include <variant>

#include "tools/reading/input.h"
#include "tools/reading/whole.h"
#include "tools/render/general_name_json.h"
#include "tools/render/name_json.h"
#include "tools/render/oid_text.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/time/velmora_sys_time.h"

namespace velmora::tool {

namespace {

// The largest number that every reader of JSON keeps (RFC 8259 §6).
constexpr uint64_t kMaxExact = (uint64_t{1} << 53) - 1;

void writeOid(const Oid& id, JsonLine& line) {
  line.textOrNull("oid", id.text());
  line.textOrNull("name", id.name());
}

// Of an OID that may be too long for Oid.
void writeOid(Bytes octets, JsonLine& line) {
  const std::string text = dottedOid(octets);
  line.textOrNull("oid", text);
  line.textOrNull("name", oidName(text));
}

void writeOidObject(std::string_view key, Bytes octets, JsonLine& line) {
  line.beginObject(key);
  writeOid(octets, line);
  line.endObject();
}

// A number that is too large to be exact is null, and how large it is at least stands beside it.
void writeNumber(std::string_view key, std::string_view keyOfLeast, std::optional<uint64_t> number,
                 JsonLine& line) {
  const bool isExact = number && *number <= kMaxExact;
  isExact ? line.number(key, static_cast<int64_t>(*number)) : line.null(key);
  if (number && !isExact) line.number(keyOfLeast, static_cast<int64_t>(kMaxExact) + 1);
}

void writeHexOrNull(std::string_view key, const std::optional<Bytes>& octets, JsonLine& line) {
  octets ? line.hex(key, *octets) : line.null(key);
}

void writeTextOrNull(std::string_view key, const std::optional<std::string>& text, JsonLine& line) {
  text ? line.text(key, *text) : line.null(key);
}

void writeBits(std::string_view key, unsigned bits, std::span<const std::string_view> names,
               JsonLine& line) {
  line.beginList(key);
  for (size_t i = 0; i < names.size(); ++i) {
    if ((bits >> i & 1) != 0) line.text("", names[i]);
  }
  line.endList();
}

// Each of these writes one value as the member "decoded".

constexpr std::string_view kDecoded = "decoded";

void writeValue(const BasicConstraints& constraints, JsonLine& line) {
  line.beginObject(kDecoded);
  line.boolean("ca", constraints.ca);
  writeNumber("pathLength", "pathLengthAtLeast", constraints.pathLength, line);
  line.endObject();
}

void writeValue(const KeyUsage& usage, JsonLine& line) {
  static constexpr std::string_view kUses[] = {
      "digitalSignature", "nonRepudiation", "keyEncipherment", "dataEncipherment", "keyAgreement",
      "keyCertSign",      "cRLSign",        "encipherOnly",    "decipherOnly"};
  writeBits(kDecoded, usage.bits, kUses, line);
}

void writeValue(const ExtendedKeyUsage& usage, JsonLine& line) {
  line.beginList(kDecoded);
  for (const Oid& purpose : usage.purposes) {
    line.beginObject("");
    writeOid(purpose, line);
    line.endObject();
  }
  line.endList();
}

// subjectKeyIdentifier.
void writeValue(const Bytes& keyId, JsonLine& line) {
  line.beginObject(kDecoded);
  line.hex("keyIdentifier", keyId);
  line.endObject();
}

void writeValue(const AuthorityKeyId& id, JsonLine& line) {
  line.beginObject(kDecoded);
  writeHexOrNull("keyIdentifier", id.keyId, line);
  writeGeneralNames("issuer", id.issuer, line);
  writeHexOrNull("serialNumber", id.serial, line);
  line.endObject();
}

void writeValue(const std::vector<GeneralName>& names, JsonLine& line) {
  writeGeneralNames(kDecoded, names, line);
}

void writeValue(const std::vector<Access>& accesses, JsonLine& line) {
  line.beginList(kDecoded);
  for (const Access& access : accesses) {
    line.beginObject("");
    writeOid(access.method, line);
    writeGeneralName("location", access.location, line);
    line.endObject();
  }
  line.endList();
}

void writeValue(const std::vector<DistributionPoint>& points, JsonLine& line) {
  static constexpr std::string_view kReasons[] = {
      "unused",      "keyCompromise",        "cACompromise",    "affiliationChanged",
      "superseded",  "cessationOfOperation", "certificateHold", "privilegeWithdrawn",
      "aACompromise"};
  line.beginList(kDecoded);
  for (const DistributionPoint& point : points) {
    line.beginObject("");
    writeGeneralNames("fullName", point.fullName, line);
    line.beginList("relativeName");
    for (const Attribute& attribute : point.relativeName) writeAttribute(attribute, line);
    line.endList();
    point.reasons ? writeBits("reasons", *point.reasons, kReasons, line) : line.null("reasons");
    writeGeneralNames("crlIssuer", point.crlIssuer, line);
    line.endObject();
  }
  line.endList();
}

void writeQualifier(const CpsUri& statement, JsonLine& line) {
  line.text("type", "cps");
  line.text("uri", statement.text);
}

void writeQualifier(const UserNotice& notice, JsonLine& line) {
  line.text("type", "userNotice");
  writeTextOrNull("organization", notice.organization, line);
  line.beginList("numbers");
  for (const int64_t number : notice.numbers) {
    const bool isExact = number >= -int64_t{kMaxExact} && number <= int64_t{kMaxExact};
    isExact ? line.number("", number) : line.null("");
  }
  line.endList();
  writeTextOrNull("text", notice.text, line);
}

void writeQualifier(const OtherQualifier& other, JsonLine& line) {
  line.text("type", "other");
  line.textOrNull("oid", other.id.text());
  line.hex("hex", other.value);
}

void writeValue(const std::vector<Policy>& policies, JsonLine& line) {
  line.beginList(kDecoded);
  for (const Policy& policy : policies) {
    line.beginObject("");
    writeOid(policy.rawId, line);
    line.beginList("qualifiers");
    for (const PolicyQualifier& qualifier : policy.qualifiers) {
      line.beginObject("");
      std::visit([&](const auto& each) { writeQualifier(each, line); }, qualifier);
      line.endObject();
    }
    line.endList();
    line.endObject();
  }
  line.endList();
}

void writeValue(const std::vector<PolicyMapping>& mappings, JsonLine& line) {
  line.beginList(kDecoded);
  for (const PolicyMapping& mapping : mappings) {
    line.beginObject("");
    writeOidObject("issuerPolicy", mapping.rawIssuerPolicy, line);
    writeOidObject("subjectPolicy", mapping.rawSubjectPolicy, line);
    line.endObject();
  }
  line.endList();
}

void writeValue(const PolicyConstraints& constraints, JsonLine& line) {
  line.beginObject(kDecoded);
  writeNumber("requireExplicitPolicy", "requireExplicitPolicyAtLeast",
              constraints.requireExplicitPolicy, line);
  writeNumber("inhibitPolicyMapping", "inhibitPolicyMappingAtLeast",
              constraints.inhibitPolicyMapping, line);
  line.endObject();
}

void writeValue(const InhibitAnyPolicy& inhibit, JsonLine& line) {
  line.beginObject(kDecoded);
  writeNumber("skipCerts", "skipCertsAtLeast", inhibit.skipCerts, line);
  line.endObject();
}

void writeValue(const NameConstraints& constraints, JsonLine& line) {
  line.beginObject(kDecoded);
  writeGeneralNames("permitted", constraints.permitted, line);
  writeGeneralNames("excluded", constraints.excluded, line);
  line.endObject();
}

// With milliseconds; null where four digits do not write the year.
void writeMoment(std::string_view key, std::chrono::sys_time<std::chrono::milliseconds> at,
                 JsonLine& line) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(at);
  const auto fraction = static_cast<unsigned>((at - seconds).count());
  VelmoraSysTime time;
  StringBuffer text;
  if (!time.fromUnixSeconds(seconds.time_since_epoch().count())) return line.null(key);
  time.appendIso8601(text);
  std::string written(whole(text).view());
  written.back() = '.';
  written.append(std::to_string(1000 + fraction), 1);
  line.text(key, written + 'Z');
}

void writeValue(const std::vector<SignedTimestamp>& stamps, JsonLine& line) {
  line.beginList(kDecoded);
  for (const SignedTimestamp& stamp : stamps) {
    line.beginObject("");
    line.base64("logId", Bytes(stamp.logId));
    writeMoment("timestamp", stamp.at, line);
    line.base64("extensions", stamp.extensions);
    line.number("hashAlgorithm", int64_t{stamp.hashAlgorithm});
    line.number("signatureAlgorithm", int64_t{stamp.signatureAlgorithm});
    line.base64("signature", stamp.signature);
    line.endObject();
  }
  line.endList();
}

void writeValue(const TlsFeatures& features, JsonLine& line) {
  line.beginList(kDecoded);
  for (const uint16_t feature : features.features) line.number("", int64_t{feature});
  line.endList();
}

void writeNothing(JsonLine& line) {
  line.beginObject(kDecoded);
  line.endObject();
}

void writeValue(const OcspNoCheck&, JsonLine& line) {
  writeNothing(line);
}

void writeValue(const NoRevocationAvailable&, JsonLine& line) {
  writeNothing(line);
}

// Writes what the certificate answers; or gives the error in its place.
template <class T>
std::optional<Error> write(const Result<T>& answer, JsonLine& line) {
  if (!answer) return answer.error();
  writeValue(*answer, line);
  return std::nullopt;
}

using C = Certificate;
using L = JsonLine;

struct Decoded {
  Oid id;
  std::optional<Error> (*write)(const C& certificate, L& line);
};

constexpr Decoded kKnown[] = {
    {oid::subjectKeyIdentifier, [](const C& c, L& l) { return write(c.subjectKeyId(), l); }},
    {oid::keyUsage, [](const C& c, L& l) { return write(c.keyUsage(), l); }},
    {oid::subjectAltName, [](const C& c, L& l) { return write(c.subjectAltNames(), l); }},
    {oid::issuerAltName, [](const C& c, L& l) { return write(c.issuerAltNames(), l); }},
    {oid::basicConstraints, [](const C& c, L& l) { return write(c.basicConstraints(), l); }},
    {oid::nameConstraints, [](const C& c, L& l) { return write(c.nameConstraints(), l); }},
    {oid::crlDistributionPoints,
     [](const C& c, L& l) { return write(c.crlDistributionPoints(), l); }},
    {oid::certificatePolicies, [](const C& c, L& l) { return write(c.policies(), l); }},
    {oid::policyMappings, [](const C& c, L& l) { return write(c.policyMappings(), l); }},
    {oid::authorityKeyIdentifier, [](const C& c, L& l) { return write(c.authorityKeyId(), l); }},
    {oid::policyConstraints, [](const C& c, L& l) { return write(c.policyConstraints(), l); }},
    {oid::extKeyUsage, [](const C& c, L& l) { return write(c.extendedKeyUsage(), l); }},
    {oid::freshestCrl, [](const C& c, L& l) { return write(c.freshestCrl(), l); }},
    {oid::inhibitAnyPolicy, [](const C& c, L& l) { return write(c.inhibitAnyPolicy(), l); }},
    {oid::noRevAvail, [](const C& c, L& l) { return write(c.noRevocationAvailable(), l); }},
    {oid::authorityInfoAccess, [](const C& c, L& l) { return write(c.authorityInfoAccess(), l); }},
    {oid::subjectInfoAccess, [](const C& c, L& l) { return write(c.subjectInfoAccess(), l); }},
    {oid::tlsFeature, [](const C& c, L& l) { return write(c.tlsFeatures(), l); }},
    {oid::ocspNoCheck, [](const C& c, L& l) { return write(c.ocspNoCheck(), l); }},
    {oid::signedTimestamps, [](const C& c, L& l) { return write(c.signedTimestamps(), l); }},
};

void writeError(const Error& error, JsonLine& line) {
  if (error.code == ErrorCode::outOfMemory) throw std::bad_alloc();
  if (error.isAbsent()) return line.null(kDecoded);
  StringBuffer reason;
  appendReason(error.message(), reason);
  line.beginObject(kDecoded);
  line.text("error", whole(reason).view());
  line.number("offset", int64_t{error.offset});
  line.endObject();
}

}  // namespace

DecodedExtensions::DecodedExtensions(const Result<Certificate>& certificate)
    : m_certificate(certificate), m_errors(std::size(kKnown)) {}

void DecodedExtensions::write(std::string_view dotted, JsonLine& line) {
  const Oid id = Oid::parse(dotted).value_or(Oid());
  const auto* const known = std::find_if(std::begin(kKnown), std::end(kKnown),
                                         [&](const Decoded& each) { return each.id == id; });
  if (known == std::end(kKnown)) return line.null(kDecoded);
  std::optional<Error>& error = m_errors[static_cast<size_t>(known - kKnown)];
  if (!m_certificate) error = m_certificate.error();
  if (!error) error = known->write(*m_certificate, line);
  if (error) writeError(*error, line);
}

}  // namespace velmora::tool
