#include <new>
#include <optional>
#include <string>

#include "tools/reading/certificate_facts.h"
#include "tools/reading/dates.h"
#include "tools/reading/general_name.h"
#include "tools/reading/key_description.h"
#include "tools/reading/version.h"
#include "tools/reading/whole.h"
#include "tools/render/decoded_extension.h"
#include "tools/render/json_writer.h"
#include "tools/render/name_json.h"
#include "tools/render/show.h"
#include "velmora/reading/reading.h"
#include "velmora/support/asn1/oid_names.h"

namespace velmora::tool {

namespace {

// The certificate for exact answers. What loads may be BER, of which this is the DER, or hold what
// no DER has, such as an INTEGER that is constructed; of that there is none.
struct TypedCertificate {
  explicit TypedCertificate(Bytes octets) : certificate(Certificate::parseBytes(octets)) {
    if (certificate) return;
    if (certificate.error().code == ErrorCode::notDer) {
      berAt = certificate.error().offset;
      certificate = certificateFromBer(octets);
    }
    if (!certificate && certificate.error().code == ErrorCode::outOfMemory) throw std::bad_alloc();
  }

  Result<Certificate> certificate;
  std::optional<uint32_t> berAt;  // where the octets are no DER
};

class ShowJson final : public CertificateVisitor {
 public:
  ShowJson(bool withDer, Console& console) : m_withDer(withDer), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    if (const char* reason = m_loaded.load(input.der)) return reason;
    if (const char* reason = m_tree.load(input.der)) return reason;
    const TypedCertificate typed(std::as_bytes(input.der));
    JsonLine line(m_console.out());
    line.text("source", input.source);
    line.number("index", static_cast<int64_t>(input.index));
    writeFields(line);
    keyIdentifier(line, "subjectKeyIdentifier", KeyIdentifier::kSubject);
    keyIdentifier(line, "authorityKeyIdentifier", KeyIdentifier::kAuthority);
    writeAlternativeNames(line);
    writeEmails(line);
    writeDigests(line, input.der);
    line.boolean("selfIssued", isSelfIssued(m_tree));
    writeKey(line);
    writeExtensions(typed.certificate, line);
    writeWarnings(line);
    writeNames(typed.certificate, line);
    writeDepartures(typed, line);
    if (m_withDer) line.base64("der", input.der);
    line.end();
    return nullptr;
  }

 private:
  void writeFields(JsonLine& line) {
    VelmoraX509& certificate = m_loaded.get();
    field(line, "subject", certificate.getDN(true, true, m_text, m_log, 0));
    field(line, "issuer", certificate.getDN(false, true, m_text, m_log, 0));
    m_text.weakClear();
    field(line, "serialNumber", certificate.get_SerialNumber(m_text, m_log));
    const std::optional<int64_t> version = describeVersion(m_tree).number;
    version ? line.number("version", *version) : line.null("version");
    const bool fromRead = date(line, "notBefore", true);
    const bool untilRead = date(line, "notAfter", false);
    const bool known = fromRead && untilRead;
    known ? line.boolean("validNow", !certificate.isCertExpired(m_log)) : line.null("validNow");
    field(line, "signatureAlgorithm", certificate.get_SignatureAlgorithm(m_text, m_log));
    field(line, "publicKeyAlgorithm", certificate.get_PublicKeyAlgorithm(m_text, m_log));
  }

  // m_text, when it was read.
  void field(JsonLine& line, std::string_view key, bool read) {
    whole(m_text);
    read ? line.text(key, m_text.view()) : line.null(key);
  }

  // Whether it could be read.
  bool date(JsonLine& line, std::string_view key, bool from) {
    VelmoraSysTime time;
    m_date.weakClear();
    const bool read = readDate(m_loaded.get(), from, time, m_log);
    if (read) time.appendIso8601(m_date);
    read ? line.text(key, whole(m_date).view()) : line.null(key);
    return read;
  }

  void keyIdentifier(JsonLine& line, std::string_view key, KeyIdentifier which) {
    const bool found = readKeyIdentifier(m_tree, which, m_octets);
    found ? line.hex(key, m_octets.span()) : line.null(key);
  }

  void writeAlternativeNames(JsonLine& line) {
    line.beginList("subjectAltNames");
    if (const XmlHandle names = alternativeNames(m_tree)) {
      eachChild(*names, [&] {
        readGeneralName(*names, m_name);
        writeGeneralName(m_name, line);
      });
    }
    line.endList();
  }

  void writeEmails(JsonLine& line) {
    line.beginList("emails");
    for (const std::string& address : emailAddresses(m_tree)) line.text("", address);
    line.endList();
  }

  void writeDigests(JsonLine& line, std::span<const unsigned char> der) {
    m_octets.clear();
    m_loaded.get().get_Sha1Thumbprint(m_octets, m_log);
    line.hex("sha1", whole(m_octets).span());
    m_octets.clear();
    sha256(der, m_octets);
    line.hex("sha256", whole(m_octets).span());
    readSpkiPin(m_loaded.get(), m_text, m_log);
    field(line, "spkiSha256", true);
  }

  void writeKey(JsonLine& line) {
    const KeyDescription key = describeKey(*m_tree.publicKey());
    line.beginObject("publicKey");
    line.textOrNull("type", key.type);
    key.bits ? line.number("bits", int64_t{*key.bits}) : line.null("bits");
    line.textOrNull("curve", key.curve);
    line.endObject();
  }

  void writeExtensions(const Result<Certificate>& typed, JsonLine& line) {
    DecodedExtensions decoded(typed);
    line.beginList("extensions");
    for (const ListedExtension& extension : m_tree.extensions()) {
      line.beginObject("");
      line.textOrNull("oid", extension.oid);
      line.textOrNull("name", oidName(extension.oid));
      line.boolean("critical", extension.critical);
      extension.value ? line.text("value", *extension.value) : line.null("value");
      decoded.write(extension.oid, line);
      line.endObject();
    }
    line.endList();
  }

  void writeWarnings(JsonLine& line) {
    line.beginList("warnings");
    for (const auto text : versionWarnings(describeVersion(m_tree), m_tree)) line.text("", text);
    line.endList();
  }

  static void writeNames(const Result<Certificate>& typed, JsonLine& line) {
    const Result<Name> subject = typed.transform(&Certificate::subject);
    const Result<Name> issuer = typed.transform(&Certificate::issuer);
    writeText("subjectRfc4514", subject.and_then(&Name::rfc4514), line);
    writeText("issuerRfc4514", issuer.and_then(&Name::rfc4514), line);
    writeRdns("subjectRdns", subject.and_then(&Name::attributes), line);
    writeRdns("issuerRdns", issuer.and_then(&Name::attributes), line);
  }

  static void writeText(std::string_view key, const Result<std::string>& text, JsonLine& line) {
    text ? line.text(key, *text) : line.null(key);
  }

  static void writeDepartures(const TypedCertificate& typed, JsonLine& line) {
    line.beginList("departures");
    if (typed.berAt) writeDeparture("notDer", "RFC 5280 §4.1", *typed.berAt, false, {}, line);
    if (typed.certificate) {
      for (const Departure& each : typed.certificate->departures()) {
        writeDeparture(each.id(), each.clause(), each.offset, each.mayDecide(), each.about.text(),
                       line);
      }
    }
    line.endList();
  }

  static void writeDeparture(std::string_view id, std::string_view clause, uint32_t offset,
                             bool mayDecide, std::string_view about, JsonLine& line) {
    line.beginObject("");
    line.text("id", id);
    line.text("clause", clause);
    line.number("offset", int64_t{offset});
    line.boolean("mayDecide", mayDecide);
    line.textOrNull("about", about);
    line.endObject();
  }

  bool m_withDer;
  Console& m_console;
  LoadedCertificate m_loaded;
  CertificateTree m_tree;
  LogNull m_log;
  XString m_text;
  StringBuffer m_date;
  DataBuffer m_octets;
  GeneralName m_name;
};

}  // namespace

std::unique_ptr<CertificateVisitor> makeShowJson(bool withDer, Console& console) {
  return std::make_unique<ShowJson>(withDer, console);
}

}  // namespace velmora::tool
