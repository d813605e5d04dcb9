#include "tools/render/decoded_extension.h"

#include <algorithm>
#include <span>
#include <string>
#include <variant>

#include "tools/reading/input.h"
#include "tools/render/dates.h"
#include "tools/render/extension_meaning.h"
#include "tools/render/general_names.h"
#include "tools/render/name_text.h"
#include "tools/render/oid_text.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

// The largest number that every reader of JSON keeps (RFC 8259 §6).
constexpr uint64_t kMaxExact = (uint64_t{1} << 53) - 1;

void writeOidObject(std::string_view key, const DottedOid& id, JsonLine& line) {
  line.object(key, [&] { writeOid(id, line); });
}

// A number that is too large to be exact is null, and how large it is at least stands beside it.
void writeNumber(std::string_view key, std::string_view keyOfLeast, std::optional<uint64_t> number,
                 JsonLine& line) {
  const bool isExact = number && *number <= kMaxExact;
  isExact ? line.number(key, *number) : line.null(key);
  if (number && !isExact) line.number(keyOfLeast, kMaxExact + 1);
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
  line.object(kDecoded, [&] {
    line.boolean("ca", constraints.ca);
    writeNumber("pathLength", "pathLengthAtLeast", constraints.pathLength, line);
  });
}

void writeValue(const KeyUsage& usage, JsonLine& line) {
  writeBits(kDecoded, usage.bits, kKeyUses, line);
}

void writeValue(const ExtendedKeyUsage& usage, JsonLine& line) {
  line.objects(kDecoded, usage.purposes,
               [&](const Oid& purpose) { writeOid(DottedOid(purpose), line); });
}

// subjectKeyIdentifier.
void writeValue(const Bytes& keyId, JsonLine& line) {
  line.object(kDecoded, [&] { line.hex("keyIdentifier", keyId); });
}

void writeValue(const AuthorityKeyId& id, JsonLine& line) {
  line.object(kDecoded, [&] {
    line.optionalHex("keyIdentifier", id.keyId);
    writeGeneralNames("issuer", id.issuer, line);
    line.optionalHex("serialNumber", id.serial);
  });
}

void writeValue(const std::vector<GeneralName>& names, JsonLine& line) {
  writeGeneralNames(kDecoded, names, line);
}

void writeValue(const std::vector<Access>& accesses, JsonLine& line) {
  line.objects(kDecoded, accesses, [&](const Access& access) {
    writeOid(DottedOid(access.method), line);
    ShownName(access.location).write("location", line);
  });
}

void writeValue(const std::vector<DistributionPoint>& points, JsonLine& line) {
  static constexpr std::string_view kReasons[] = {
      "unused",      "keyCompromise",        "cACompromise",    "affiliationChanged",
      "superseded",  "cessationOfOperation", "certificateHold", "privilegeWithdrawn",
      "aACompromise"};
  line.objects(kDecoded, points, [&](const DistributionPoint& point) {
    writeGeneralNames("fullName", point.fullName, line);
    line.list("relativeName", point.relativeName,
              [&](const Attribute& attribute) { writeAttribute(ShownAttribute(attribute), line); });
    point.reasons ? writeBits("reasons", *point.reasons, kReasons, line) : line.null("reasons");
    writeGeneralNames("crlIssuer", point.crlIssuer, line);
  });
}

void writeQualifier(const CpsUri& statement, JsonLine& line) {
  line.word("type", "cps");
  line.text("uri", statement.text);
}

void writeQualifier(const UserNotice& notice, JsonLine& line) {
  line.word("type", "userNotice");
  line.optionalText("organization", notice.organization);
  line.list("numbers", notice.numbers, [&](int64_t number) {
    const bool isExact = number >= -int64_t{kMaxExact} && number <= int64_t{kMaxExact};
    isExact ? line.number("", number) : line.null("");
  });
  line.optionalText("text", notice.text);
}

void writeQualifier(const OtherQualifier& other, JsonLine& line) {
  line.word("type", "other");
  line.word("oid", DottedOid(other.id).text());
  line.hex("hex", other.value);
}

}  // namespace

void writePolicy(const DottedOid& id, const std::vector<PolicyQualifier>& qualifiers,
                 JsonLine& line) {
  writeOid(id, line);
  line.objects("qualifiers", qualifiers, [&](const PolicyQualifier& qualifier) {
    std::visit([&](const auto& each) { writeQualifier(each, line); }, qualifier);
  });
}

namespace {

void writeValue(const std::vector<Policy>& policies, JsonLine& line) {
  line.objects(kDecoded, policies, [&](const Policy& policy) {
    writePolicy(DottedOid(policy.rawId), policy.qualifiers, line);
  });
}

void writeValue(const std::vector<PolicyMapping>& mappings, JsonLine& line) {
  line.objects(kDecoded, mappings, [&](const PolicyMapping& mapping) {
    writeOidObject("issuerPolicy", DottedOid(mapping.rawIssuerPolicy), line);
    writeOidObject("subjectPolicy", DottedOid(mapping.rawSubjectPolicy), line);
  });
}

void writeValue(const PolicyConstraints& constraints, JsonLine& line) {
  line.object(kDecoded, [&] {
    writeNumber("requireExplicitPolicy", "requireExplicitPolicyAtLeast",
                constraints.requireExplicitPolicy, line);
    writeNumber("inhibitPolicyMapping", "inhibitPolicyMappingAtLeast",
                constraints.inhibitPolicyMapping, line);
  });
}

void writeValue(const InhibitAnyPolicy& inhibit, JsonLine& line) {
  line.object(kDecoded,
              [&] { writeNumber("skipCerts", "skipCertsAtLeast", inhibit.skipCerts, line); });
}

void writeValue(const NameConstraints& constraints, JsonLine& line) {
  line.object(kDecoded, [&] {
    writeGeneralNames("permitted", constraints.permitted, line);
    writeGeneralNames("excluded", constraints.excluded, line);
  });
}

// With milliseconds; null where four digits do not write the year.
void writeMoment(std::string_view key, std::chrono::sys_time<std::chrono::milliseconds> at,
                 JsonLine& line) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(at);
  std::string text = toIso8601(seconds);
  const std::string fraction = std::to_string(1000 + (at - seconds).count()).substr(1);
  if (!text.empty()) text.replace(text.size() - 1, 1, "." + fraction + "Z");
  line.word(key, text);
}

void writeValue(const std::vector<SignedTimestamp>& stamps, JsonLine& line) {
  line.objects(kDecoded, stamps, [&](const SignedTimestamp& stamp) {
    line.base64("logId", Bytes(stamp.logId));
    writeMoment("timestamp", stamp.at, line);
    line.base64("extensions", stamp.extensions);
    line.number("hashAlgorithm", stamp.hashAlgorithm);
    line.number("signatureAlgorithm", stamp.signatureAlgorithm);
    line.base64("signature", stamp.signature);
  });
}

void writeValue(const TlsFeatures& features, JsonLine& line) {
  line.list(kDecoded, features.features, [&](uint16_t feature) { line.number("", feature); });
}

void writeValue(const OcspNoCheck&, JsonLine& line) {
  line.object(kDecoded, [] {});
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
  line.object(kDecoded, [&] {
    line.text("error", whole(reason).view());
    line.number("offset", error.offset);
  });
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
