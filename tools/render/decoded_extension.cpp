#include "tools/render/decoded_extension.h"

#include <algorithm>
#include <span>
#include <string>
#include <variant>

#include "tools/reading/input.h"
#include "tools/render/extension_meaning.h"
#include "tools/render/general_names.h"
#include "tools/render/name_json.h"
#include "tools/render/oid_text.h"
#include "velmora/support/text/whole.h"
#include "velmora/support/time/velmora_sys_time.h"

namespace velmora::tool {

namespace {

// The largest number that every reader of JSON keeps (RFC 8259 §6).
constexpr uint64_t kMaxExact = (uint64_t{1} << 53) - 1;

void writeOid(const DottedOid& id, JsonLine& line) {
  line.word("oid", id.text());
  line.word("name", id.name());
}

void writeOidObject(std::string_view key, const DottedOid& id, JsonLine& line) {
  line.beginObject(key);
  writeOid(id, line);
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
    if ((bits >> i & 1) != 0) line.word("", names[i]);
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
  writeBits(kDecoded, usage.bits, kKeyUses, line);
}

void writeValue(const ExtendedKeyUsage& usage, JsonLine& line) {
  line.beginList(kDecoded);
  for (const Oid& purpose : usage.purposes) writeOidObject("", DottedOid(purpose), line);
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
    writeOid(DottedOid(access.method), line);
    ShownName(access.location).write("location", line);
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
    for (const Attribute& attribute : point.relativeName)
      writeAttribute(ShownAttribute(attribute), line);
    line.endList();
    point.reasons ? writeBits("reasons", *point.reasons, kReasons, line) : line.null("reasons");
    writeGeneralNames("crlIssuer", point.crlIssuer, line);
    line.endObject();
  }
  line.endList();
}

void writeQualifier(const CpsUri& statement, JsonLine& line) {
  line.word("type", "cps");
  line.text("uri", statement.text);
}

void writeQualifier(const UserNotice& notice, JsonLine& line) {
  line.word("type", "userNotice");
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
  line.word("type", "other");
  line.word("oid", DottedOid(other.id).text());
  line.hex("hex", other.value);
}

void writeValue(const std::vector<Policy>& policies, JsonLine& line) {
  line.beginList(kDecoded);
  for (const Policy& policy : policies) {
    line.beginObject("");
    writeOid(DottedOid(policy.rawId), line);
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
    writeOidObject("issuerPolicy", DottedOid(mapping.rawIssuerPolicy), line);
    writeOidObject("subjectPolicy", DottedOid(mapping.rawSubjectPolicy), line);
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
  line.word(key, written + 'Z');
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

void writeValue(const OcspNoCheck&, JsonLine& line) {
  line.beginObject(kDecoded);
  line.endObject();
}

void writeValue(const NoRevocationAvailable&, JsonLine& line) {
  writeValue(OcspNoCheck(), line);
}

void writeValue(std::monostate, JsonLine& line) {
  line.null(kDecoded);
}

void writeError(const Error& error, JsonLine& line) {
  StringBuffer reason;
  appendReason(error.message(), reason);
  line.beginObject(kDecoded);
  line.text("error", whole(reason).view());
  line.number("offset", int64_t{error.offset});
  line.endObject();
}

}  // namespace

// Known extensions are looked for again, each as often as it is in order, and those that are not
// are kept in mind: no list makes that slow.
void DecodedExtensions::write(const Extension& extension, JsonLine& line) {
  const Result<ExtensionContent> content = m_certificate.content(extension);
  if (content && std::holds_alternative<std::monostate>(*content)) return line.null(kDecoded);
  const auto refused = std::find_if(m_refused.begin(), m_refused.end(),
                                    [&](auto& each) { return each.first == extension.id; });
  if (refused != m_refused.end()) return writeError(refused->second, line);
  const Result<Extension> only = m_certificate.extension(extension.id);
  if (only && content) {
    return std::visit([&](const auto& value) { writeValue(value, line); }, *content);
  }
  m_refused.emplace_back(extension.id, only ? content.error() : only.error());
  writeError(m_refused.back().second, line);
}

}  // namespace velmora::tool
