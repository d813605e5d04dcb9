#include "tools/render/verify_report.h"

#include "tools/reading/dates.h"
#include "tools/render/json_writer.h"
#include "tools/render/oid_text.h"
#include "velmora/support/asn1/oid_names.h"
#include "velmora/support/text/printable.h"

namespace velmora::tool {

namespace {

constexpr size_t kColumn = 13;

void label(std::string_view name, StringBuffer& out) {
  out.append("    ");
  out.append(name);
  for (size_t i = name.size(); i < kColumn; ++i) out.appendChar(' ');
}

void row(std::string_view name, std::string_view text, StringBuffer& out) {
  label(name, out);
  out.append(text);
  out.appendChar('\n');
}

void rows(std::string_view name, const std::vector<std::string>& texts, StringBuffer& out) {
  for (const std::string& text : texts) row(name, text, out);
}

// The text or, of a date that cannot be read, nothing.
std::string_view dateText(const Result<std::chrono::sys_seconds>& date, StringBuffer& text) {
  text.weakClear();
  if (date) momentOf(*date).appendIso8601(text);
  return text.view();
}

void datesRow(const Certificate& certificate, StringBuffer& out) {
  StringBuffer text;
  const auto append = [&](const Result<std::chrono::sys_seconds>& date) {
    out.append(date ? dateText(date, text) : "cannot be read");
  };
  label("dates", out);
  append(certificate.notBefore());
  out.append(" to ");
  append(certificate.notAfter());
  out.append("\n");
}

// Its name or its dotted OID; nothing when there is none.
std::string curveName(const PublicKey& key) {
  const std::string_view name = key.curve.name();
  return name.empty() ? key.curve.text() : std::string(name);
}

void appendKey(const PublicKey& key, StringBuffer& out) {
  const std::string type = keyType(key);
  if (type.empty()) {
    out.append("an unknown key");
    return;
  }
  appendOidShort(type, OidStyle::kNamed, out);
  if (key.bits != 0) {
    out.append(", ");
    out.appendInt(key.bits);
    out.append(" bits");
  }
  if (key.curve.isEmpty()) return;
  out.append(", ");
  out.append(curveName(key));
}

void issuerRow(const ChainStep& step, StringBuffer& out) {
  label("issuer", out);
  out.append(step.signer == step.certificate ? "itself" : step.signer->place);
  if (step.signer != step.certificate) {
    out.append(", by ");
    out.append(step.matchedBy);
  }
  out.appendChar('\n');
}

void signatureRows(const SignatureReport& signature, StringBuffer& out) {
  label("signature", out);
  out.append(signature.verdict == SignatureVerdict::good ? "good" : signature.reason);
  out.appendChar('\n');
  label("checked with", out);
  if (!signature.algorithm.empty()) {
    appendOidShort(signature.algorithm, OidStyle::kNamed, out);
    out.append(", ");
  }
  if (!signature.hash.empty()) {
    out.append(signature.hash);
    out.append(", ");
  }
  out.append("key ");
  appendKey(signature.key, out);
  out.appendChar('\n');
}

void appendStep(size_t number, std::string_view place, const ChainStep& step, StringBuffer& out) {
  out.append("  ");
  out.appendInt(static_cast<int64_t>(number));
  out.append(" ");
  appendPrintable(step.certificate->subject, out);
  out.append("\n");
  row("certificate", place, out);
  datesRow(step.certificate->certificate, out);
  if (step.signer != nullptr) issuerRow(step, out);
  if (step.signature) {
    signatureRows(*step.signature, out);
    rows("warning", step.signature->warnings, out);
  }
  rows("warning", step.findings.warnings, out);
  if (step.isTrustedRoot) row("trusted", "root", out);
  rows("FAILED", step.findings.failures, out);
}

std::string_view verdictName(SignatureVerdict verdict) {
  switch (verdict) {
    case SignatureVerdict::good:
      return "good";
    case SignatureVerdict::wrong:
      return "wrong";
    case SignatureVerdict::cannotCheck:
      return "cannotCheck";
    default:
      return "refused";
  }
}

void writeTexts(std::string_view key, const std::vector<std::string>& texts, JsonLine& line) {
  line.beginList(key);
  for (const std::string& text : texts) line.text("", text);
  line.endList();
}

void writeKey(const PublicKey& key, JsonLine& line) {
  line.beginObject("key");
  line.textOrNull("type", keyType(key));
  key.bits != 0 ? line.number("bits", int64_t{key.bits}) : line.null("bits");
  line.textOrNull("curve", curveName(key));
  line.endObject();
}

void writePlace(std::string_view source, size_t index, JsonLine& line) {
  line.text("source", source);
  line.number("index", static_cast<int64_t>(index));
}

void writeSignature(const ChainStep& step, JsonLine& line) {
  if (!step.signature) return line.null("signature");
  const SignatureReport& signature = *step.signature;
  line.beginObject("signature");
  line.beginObject("signer");
  writePlace(step.signer->source, step.signer->index, line);
  line.endObject();
  line.text("matchedBy", step.matchedBy);
  line.text("verdict", verdictName(signature.verdict));
  line.textOrNull("reason", signature.reason);
  line.textOrNull("algorithm", signature.algorithm);
  line.textOrNull("algorithmName", oidName(signature.algorithm));
  line.textOrNull("hash", signature.hash);
  writeKey(signature.key, line);
  writeTexts("warnings", signature.warnings, line);
  line.endObject();
}

void writeStep(std::string_view source, size_t index, const ChainStep& step, JsonLine& line) {
  StringBuffer date;
  line.beginObject("");
  writePlace(source, index, line);
  line.text("subject", step.certificate->subject);
  const Certificate& certificate = step.certificate->certificate;
  line.textOrNull("notBefore", dateText(certificate.notBefore(), date));
  line.textOrNull("notAfter", dateText(certificate.notAfter(), date));
  line.boolean("trustedRoot", step.isTrustedRoot);
  writeSignature(step, line);
  writeTexts("failures", step.findings.failures, line);
  writeTexts("warnings", step.findings.warnings, line);
  line.endObject();
}

}  // namespace

void appendChainText(std::string_view place, const Chain& chain, const VelmoraSysTime& at,
                     StringBuffer& out) {
  out.append(chain.verified ? "VERIFIED  " : "FAILED    ");
  out.append(place);
  out.append(" at ");
  at.appendIso8601(out);
  out.appendChar('\n');
  for (size_t i = 0; i < chain.steps.size(); ++i) {
    // The first is the one that was asked about, which may have been met at another place before.
    appendStep(i + 1, i == 0 ? place : chain.steps[i].certificate->place, chain.steps[i], out);
  }
}

void appendChainJson(const InputPlace& input, const Chain& chain, const VelmoraSysTime& at,
                     StringBuffer& out) {
  StringBuffer time;
  at.appendIso8601(time);
  JsonLine line(out);
  writePlace(input.source, input.index, line);
  line.boolean("verified", chain.verified);
  line.text("at", time.view());
  line.beginList("chain");
  for (const ChainStep& step : chain.steps) {
    const bool isFirst = &step == &chain.steps.front();
    writeStep(isFirst ? input.source : step.certificate->source,
              isFirst ? input.index : step.certificate->index, step, line);
  }
  line.endList();
  line.beginList("notChecked");
  for (const std::string_view each : {"nameConstraints", "policyConstraints", "revocation"}) {
    line.text("", each);
  }
  line.endList();
  line.end();
}

}  // namespace velmora::tool
