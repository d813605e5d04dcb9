#include <string>

#include "tools/render/decoded_extension.h"
#include "tools/render/finding.h"
#include "tools/render/general_names.h"
#include "tools/render/json_writer.h"
#include "tools/render/name_json.h"
#include "tools/render/octets.h"
#include "tools/render/show.h"
#include "tools/render/shown_certificate.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

class ShowJson final : public CertificateVisitor {
 public:
  ShowJson(bool withDer, Console& console) : m_withDer(withDer), m_console(console) {}

  const char* visit(const InputCertificate& input) override {
    const Certificate& certificate = input.certificate;
    const ShownCertificate shown(certificate);
    JsonLine line(m_console.out());
    line.text("source", input.source);
    line.number("index", static_cast<int64_t>(input.index));
    writeFields(certificate, shown, line);
    line.optionalHex("subjectKeyIdentifier", shown.subjectKeyId);
    line.optionalHex("authorityKeyIdentifier", shown.authorityKeyId);
    writeGeneralNames("subjectAltNames", shown.alternativeNames, line);
    line.list("emails", shown.emails, [&](std::string_view email) { line.text("", email); });
    line.hex("sha1", Bytes(digestOf<Sha1Digest>(input.der)));
    line.hex("sha256", Bytes(digestOf<Sha256Digest>(input.der)));
    line.base64("spkiSha256", Bytes(certificate.spkiPin<Hash::sha256>()));
    line.boolean("selfIssued", isSameName(shown.subject, shown.issuer));
    writeKey(shown.key, line);
    writeExtensions(certificate, shown.extensions, line);
    line.beginList("warnings");
    if (const auto warning = shown.versionWarning(); !warning.empty()) line.text("", warning);
    line.endList();
    line.optionalText("subjectRfc4514", certificate.subject().rfc4514());
    line.optionalText("issuerRfc4514", certificate.issuer().rfc4514());
    writeRdns("subjectRdns", shown.subject, line);
    writeRdns("issuerRdns", shown.issuer, line);
    writeFindings(findingsOf(input), false, line);
    if (m_withDer) line.base64("der", std::as_bytes(input.der));
    line.end();
    return nullptr;
  }

 private:
  void writeFields(const Certificate& certificate, const ShownCertificate& shown, JsonLine& line) {
    const ShownVersion& version = shown.version;
    writeName("subject", certificate.subject(), shown.subject, line);
    writeName("issuer", certificate.issuer(), shown.issuer, line);
    line.hex("serialNumber", certificate.parts().serial);
    version.number ? line.number("version", *version.number) : line.null("version");
    writeDate("notBefore", shown.notBefore, line);
    writeDate("notAfter", shown.notAfter, line);
    writeValidNow(shown, line);
    line.word("signatureAlgorithm", DottedOid(certificate.signatureAlgorithm()).text());
    line.word("publicKeyAlgorithm", DottedOid(shown.key.algorithm).text());
  }

  void writeName(std::string_view key, const Name& name, const Attributes& attributes,
                 JsonLine& line) {
    m_text.weakClear();
    const bool hasText = appendName(name, attributes, m_text);
    hasText ? line.text(key, whole(m_text).view()) : line.null(key);
  }

  void writeDate(std::string_view key, const std::optional<VelmoraSysTime>& time, JsonLine& line) {
    if (!time) return line.null(key);
    m_text.weakClear();
    time->appendIso8601(m_text);
    line.word(key, whole(m_text).view());
  }

  static void writeValidNow(const ShownCertificate& shown, JsonLine& line) {
    constexpr std::string_view kKey = "validNow";
    VelmoraSysTime now;
    now.getCurrentGmt();
    if (!shown.notBefore || !shown.notAfter) return line.null(kKey);
    line.boolean(kKey, !now.is_after_by_compare(*shown.notAfter, false) &&
                           !shown.notBefore->is_after_by_compare(now, false));
  }

  static void writeKey(const PublicKey& key, JsonLine& line) {
    const std::string_view kind = key.kindName();
    line.object("publicKey", [&] {
      line.word("type", kind.empty() ? DottedOid(key.algorithm).text() : kind);
      key.bits != 0 ? line.number("bits", int64_t{key.bits}) : line.null("bits");
      line.word("curve", DottedOid(key.curve).nameOrText());
    });
  }

  static void writeExtensions(const Certificate& certificate,
                              const std::vector<Extension>& extensions, JsonLine& line) {
    DecodedExtensions decoded(certificate);
    line.objects("extensions", extensions, [&](const Extension& extension) {
      const DottedOid id(extension.rawId);
      line.word("oid", id.text());
      line.word("name", id.name());
      line.boolean("critical", extension.critical);
      extension.hasValue ? line.base64("value", extension.value) : line.null("value");
      decoded.write(extension, line);
    });
  }

  bool m_withDer;
  Console& m_console;
  StringBuffer m_text;
};

}  // namespace

std::unique_ptr<CertificateVisitor> makeShowJson(bool withDer, Console& console) {
  return std::make_unique<ShowJson>(withDer, console);
}

}  // namespace velmora::tool
