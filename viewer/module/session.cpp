#include "viewer/module/session.h"

#include <algorithm>

#include "tools/render/dates.h"
#include "tools/render/difference.h"
#include "tools/render/extension_meaning.h"
#include "tools/render/general_names.h"
#include "tools/render/name_text.h"
#include "tools/render/oid_text.h"
#include "tools/render/path_report.h"
#include "tools/render/show.h"
#include "tools/render/shown_departure.h"
#include "velmora/support/log/log_sinks.h"
#include "velmora/support/pem/pem_writer.h"
#include "viewer/module/element_text.h"
#include "viewer/module/element_tree.h"

namespace velmora::viewer {

namespace {

using tool::JsonLine;

constexpr size_t kMostFailures = 100;
constexpr size_t kMostTitle = 200;

// In the order of Found.
constexpr std::string_view kFound[] = {
    "certificate", "pkcs7",  "privateKey",   "encryptedPrivateKey", "request", "crl",
    "publicKey",   "pkcs12", "ocspResponse", "otherAsn1",           "notAsn1"};

// Whom people know by a name: its common name, else its last attribute that is a text.
std::string titleOf(const Name& name) {
  const tool::Attributes attributes = tool::attributesOf(name);
  if (!attributes) return "a name that cannot be read";
  std::string_view title;
  for (const tool::ShownAttribute& each : *attributes) {
    if (each.text().empty()) continue;
    title = each.text();
    if (tool::isSame(each.type, oid::commonName.der())) break;
  }
  const std::string_view start = startOf(title, kMostTitle);
  return std::string(start) + (start.size() < title.size() ? "…" : "");
}

// A subject may be empty where the alternative names are what counts (RFC 5280 §4.1.2.6).
std::string titleOf(const Certificate& certificate) {
  std::string title = titleOf(certificate.subject());
  if (!title.empty()) return title;
  const auto names = certificate.subjectAltNames();
  if (!names || names->empty()) return "no name";
  StringBuffer text;
  tool::ShownName(names->front()).append(tool::OidStyle::kNamed, appendPrintable, text);
  return std::string(text.view());
}

void writeAlgorithm(std::string_view member, const Oid& id, JsonLine& line) {
  const tool::DottedOid dotted(id);
  StringBuffer words;
  if (!dotted.text().empty()) tool::appendOid(dotted, tool::OidStyle::kNamed, words);
  line.text(member, words.view());
}

// A server has a host, and mail an address; other purposes may have either.
bool isAboutEmail(const TrustQuestion& question) {
  if (question.purpose == Purpose::server) return false;
  return question.purpose == Purpose::email || question.target.find('@') != question.target.npos;
}

Result<Target> targetOf(const TrustQuestion& question) {
  if (question.target.empty()) return Target::notJudged();
  return isAboutEmail(question) ? Target::email(question.target) : Target::host(question.target);
}

void refuseTarget(const TrustQuestion& question, const Error& error, StringBuffer& out) {
  const bool isLetter = error.code == ErrorCode::hostNotAscii;
  const std::string_view what = isAboutEmail(question)
                                    ? "This is no e-mail address"
                                    : "This is neither a host name nor an IP address";
  StringBuffer sentence;
  tool::print(sentence, what, isLetter ? " in ASCII: other letters are written \"xn--…\"." : ".");
  JsonLine line(out);
  line.text("refused", sentence.view());
  line.end();
}

}  // namespace

// Keeps what is read of one input, and tells it.
class Session::Sink final : public TypedCertificateSink {
 public:
  Sink(Session& session, const std::string& source) : m_session(session), m_source(source) {}

  void setOut(StringBuffer& out) { m_out = &out; }
  size_t passedOver() const { return m_failures - std::min(m_failures, kMostFailures); }

  void typedCertificate(const CertificatePlace& place, Bytes octets, const Certificate& certificate,
                        std::optional<uint32_t> berAt) override {
    Octets original;
    if (berAt) original.assign(octets.begin(), octets.end());
    m_session.m_items.push_back({&m_source, place.index, certificate, std::move(original), berAt});
    writeRow(m_session.m_items.back());
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    if (++m_failures > kMostFailures) return;
    JsonLine line(*m_out);
    tool::writePlace({m_source, place.index}, line);
    line.text("error", tool::reasonAndPlace(failure, true).view());
    const bool isKnown = failure.code == ErrorCode::notACertificate;
    line.word("found", isKnown ? kFound[static_cast<size_t>(failure.found)] : "");
    line.number("line", place.line);
    line.end();
  }

 private:
  void writeRow(const Item& item) {
    const Certificate& certificate = item.certificate;
    const auto constraints = certificate.basicConstraints();
    JsonLine line(*m_out);
    line.number("row", m_session.m_items.size() - 1);
    tool::writePlace(item.input(), line);
    line.text("title", titleOf(certificate));
    line.text("issuer", titleOf(certificate.issuer()));
    line.word("notBefore", tool::dateText(certificate.notBefore()));
    line.word("notAfter", tool::dateText(certificate.notAfter()));
    line.boolean("ca", constraints && constraints->ca);
    line.boolean("selfIssued", certificate.isSelfIssued());
    line.boolean("ber", item.berAt.has_value());
    line.end();
  }

  Session& m_session;
  const std::string& m_source;
  StringBuffer* m_out = nullptr;
  size_t m_failures = 0;
};

Session::Session() = default;
Session::~Session() = default;

tool::InputCertificate Session::Item::input() const {
  const Bytes octets = berAt ? Bytes(original) : certificate.der();
  return {{*source, index}, octetsOf(octets), certificate, berAt};
}

void Session::begin(std::string_view name) {
  m_isIndexed = false;
  m_sink = std::make_unique<Sink>(*this, m_sources.emplace_back(name));
  m_reader = std::make_unique<CertificateReader>(*m_sink);
}

void Session::feed(std::span<const unsigned char> piece, StringBuffer& out) {
  if (!m_reader) return;
  m_isIndexed = false;
  m_sink->setOut(out);
  m_reader->feed(piece);
}

void Session::finish(StringBuffer& out) {
  if (!m_reader) return;
  m_isIndexed = false;
  m_sink->setOut(out);
  m_reader->finish();
  JsonLine line(out);
  line.text("source", m_sources.back());
  line.number("items", m_reader->count());
  line.number("passedOver", m_sink->passedOver());
  line.end();
  m_reader.reset();
}

void Session::show(size_t row, StringBuffer& out) const {
  const Item* const item = at(row);
  if (item == nullptr) return;
  const tool::InputCertificate input = item->input();
  tool::showAsJson(input, false, out);
  tool::appendLintJson(input, tool::departuresOf(input), out);
  JsonLine line(out);
  writeAlgorithm("signatureAlgorithm", item->certificate.signatureAlgorithm(), line);
  writeAlgorithm("keyAlgorithm", item->certificate.describedKey().algorithm, line);
  line.beginList("extensions");
  for (const Extension& each : item->certificate.listedExtensions()) {
    StringBuffer words;
    tool::appendMeaning(item->certificate, each, tool::OidStyle::kNamed, words);
    line.text("", words.view());
  }
  line.endList();
  line.number("octets", input.der.size());
  line.end();
}

void Session::octets(size_t row, StringBuffer& out) const {
  if (const Item* const item = at(row)) {
    tool::print(out, tool::charactersOf(std::as_bytes(item->input().der)));
  }
}

void Session::elements(size_t row, StringBuffer& out) const {
  if (const Item* const item = at(row)) appendElements(item->input().der, out);
}

void Session::value(size_t row, size_t offset, StringBuffer& out) const {
  if (const Item* const item = at(row)) appendWholeValue(item->input().der, offset, out);
}

void Session::pem(size_t row, StringBuffer& out) const {
  if (const Item* const item = at(row)) appendPem("CERTIFICATE", item->input().der, out);
}

void Session::summary(size_t row, StringBuffer& out) const {
  const Item* const item = at(row);
  if (item == nullptr) return;
  const RefOwner<VelmoraX509> object(VelmoraX509::createOwnedX509());
  LogNull log;
  const auto der = item->input().der;
  const auto size = static_cast<unsigned int>(der.size());
  if (object && object->loadX509DerAlt(der.data(), size, nullptr, log)) {
    tool::appendSummaryXml(*object, out);
  }
}

void Session::differences(size_t before, size_t after, StringBuffer& out) const {
  const Item* const first = at(before);
  const Item* const second = at(after);
  if (first == nullptr || second == nullptr) return;
  JsonLine line(out);
  line.objects("differences", tool::differencesOf(first->certificate, second->certificate),
               [&](const tool::FieldDifference& each) {
                 line.text("field", each.field.view());
                 line.text("before", each.before.view());
                 line.text("after", each.after.view());
               });
  line.end();
}

void Session::trust(size_t row, bool isTrusted) {
  if (row >= m_items.size()) return;
  m_items[row].isTrusted = isTrusted;
  m_isIndexed = false;
}

// No decision rests on what came in BER.
void Session::index() {
  if (std::exchange(m_isIndexed, true)) return;
  m_places.clear();
  std::vector<Certificate> roots;
  std::vector<Certificate> others;
  for (const Item& each : m_items) {
    if (each.berAt) continue;
    m_places.try_emplace(each.certificate, each.input());
    (each.isTrusted ? roots : others).push_back(each.certificate);
  }
  m_anchors.emplace(roots);
  m_others.emplace(others);
}

void Session::verify(size_t row, const TrustQuestion& asked, StringBuffer& out) {
  const Item* const item = at(row);
  if (item == nullptr) return;
  const tool::InputCertificate input = item->input();
  if (item->berAt) {
    return tool::writeUnreadable(input, "BER, on which no decision may rest", out);
  }
  const Result<Target> target = targetOf(asked);
  if (!target) return refuseTarget(asked, target.error(), out);
  index();
  tool::PathQuestion question{{}, {}, m_places};
  question.options.purpose = asked.purpose;
  question.options.profile = asked.profile;
  question.options.target = *target;
  question.options.at =
      asked.at ? *asked.at : std::chrono::floor<std::chrono::seconds>(tool::momentNow());
  const Verification answer =
      velmora::verify(item->certificate, *m_anchors, *m_others, question.options);
  tool::appendPathJson(question, input, answer, out);
}

}  // namespace velmora::viewer
