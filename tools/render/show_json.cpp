#include "tools/render/dates.h"
#include "tools/render/decoded_extension.h"
#include "tools/render/general_names.h"
#include "tools/render/show.h"
#include "tools/render/shown_certificate.h"
#include "tools/render/shown_departure.h"
#include "velmora/support/hash/sha_digest.h"
#include "velmora/support/text/whole.h"

namespace velmora::tool {

namespace {

void writeName(std::string_view key, const Name& name, const Attributes& attributes,
               JsonLine& line) {
  StringBuffer text;
  const bool hasText = appendName(name, attributes, text);
  hasText ? line.text(key, whole(text).view()) : line.null(key);
}

void writeValidNow(const ShownCertificate& shown, JsonLine& line) {
  const Moment now = momentNow();
  if (!shown.notBefore || !shown.notAfter) return line.null("validNow");
  line.boolean("validNow", *shown.notBefore <= now && now <= *shown.notAfter);
}

void writeFields(const Certificate& certificate, const ShownCertificate& shown, JsonLine& line) {
  const ShownVersion& version = shown.version;
  writeName("subject", certificate.subject(), shown.subject, line);
  writeName("issuer", certificate.issuer(), shown.issuer, line);
  line.hex("serialNumber", certificate.parts().serial);
  version.number ? line.number("version", *version.number) : line.null("version");
  line.word("notBefore", dateText(shown.notBefore));
  line.word("notAfter", dateText(shown.notAfter));
  writeValidNow(shown, line);
  line.word("signatureAlgorithm", DottedOid(certificate.signatureAlgorithm()).text());
  line.word("publicKeyAlgorithm", DottedOid(shown.key.algorithm).text());
}

void writeKey(const PublicKey& key, JsonLine& line) {
  const std::string_view kind = key.kindName();
  line.object("publicKey", [&] {
    line.word("type", kind.empty() ? DottedOid(key.algorithm).text() : kind);
    key.bits != 0 ? line.number("bits", key.bits) : line.null("bits");
    line.word("curve", DottedOid(key.curve).nameOrText());
  });
}

void writeExtensions(const Certificate& certificate, const std::vector<Extension>& extensions,
                     JsonLine& line) {
  DecodedExtensions decoded(certificate);
  line.objects("extensions", extensions, [&](const Extension& extension) {
    writeOid(DottedOid(extension.rawId), line);
    line.boolean("critical", extension.critical);
    extension.hasValue ? line.base64("value", extension.value) : line.null("value");
    decoded.write(extension, line);
  });
}

}  // namespace

void showAsJson(const InputCertificate& input, bool withDer, StringBuffer& out) {
  const Certificate& certificate = input.certificate;
  const ShownCertificate shown(certificate);
  JsonLine line(out);
  writePlace(input, line);
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
  writeDepartures(departuresOf(input), false, line);
  writeLineKey(input, line);
  if (withDer) line.base64("der", std::as_bytes(input.der));
  line.end();
}

}  // namespace velmora::tool
