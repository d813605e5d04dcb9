#include "velmora/reading/certificate_reader.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "velmora/support/asn1/ber_walk.h"
#include "velmora/support/asn1/certificate_shape.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/text/ascii.h"
#include "velmora/support/xml/cls_xml.h"
#include "velmora/support/xml/xml_names.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kMarks[] = {kUtf8Mark, kUtf16LittleEndianMark, kUtf16BigEndianMark};
constexpr std::string_view kUtf16WithoutMark[] = {{"<\0", 2}, {"\0<", 2}};
constexpr CertificateFailure kTooLarge = {
    "The DER is larger than 64 MiB.", {}, 0, ErrorCode::tooLarge};
constexpr const char* kNoUtf16Mark = "UTF-16 without a byte order mark.";
constexpr const char* kNotUtf16 = "The text is not UTF-16.";
constexpr CertificateFailure kNoMemory = {kMemoryRanOut, {}, 0, ErrorCode::outOfMemory};
// How whatever reads for a reader says that memory ran out, which is no fault of the input.
constexpr std::string_view kNoMemoryEnding = "ut of memory.";
constexpr const char* kNothing = "No certificate: neither DER, PEM, base64 of DER nor ASN.1 XML.";

std::span<const unsigned char> bytesOf(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// Characters that no text holds.
bool isBinary(char c) {
  return static_cast<unsigned char>(c) < 0x20 && !isAsciiSpace(c) && c != '\x1B';
}

// Whether bytes that start with 30, which is also the digit 0, are a SEQUENCE. A length of more
// than 127 starts with an octet that no UTF-8 character starts with. A short length looks like a
// character, but a SEQUENCE so short has another tag or length below 20 soon. Without a value, more
// bytes are needed.
std::optional<bool> isSequence(std::string_view start, bool atEnd) {
  constexpr size_t kEnough = 16;
  if (start.size() < 2) return atEnd ? std::optional<bool>(false) : std::nullopt;
  const auto length = static_cast<unsigned char>(start[1]);
  if (length >= 0x80) return length < 0xC0;
  const size_t size = std::min<size_t>(kEnough, size_t{2} + length);
  if (std::any_of(start.begin() + 1, start.begin() + std::min(size, start.size()), isBinary)) {
    return true;
  }
  return start.size() >= size || atEnd ? std::optional<bool>(false) : std::nullopt;
}

// Whether text that starts with "<" may be XML with ASN.1 in it: a start tag, of which the splitter
// judges, or what may precede the first tag. Without a value, more characters are needed.
std::optional<bool> isAsn1Xml(std::string_view start, bool atEnd) {
  for (const std::string_view opening : {std::string_view("<?xml"), std::string_view("<!--")}) {
    if (start.starts_with(opening)) return true;
    if (opening.starts_with(start) && !atEnd) return std::nullopt;
  }
  if (start.size() < 2) return atEnd ? std::optional<bool>(false) : std::nullopt;
  return !isAsciiSpace(start[1]) &&
         std::string_view("/?!>").find(start[1]) == std::string_view::npos;
}

bool isAsn1(const ClsXml& element) {
  return isAsn1Element(xmlNameOf(element.tagView()));
}

// Whether a document is a list: its root is no ASN.1 element, but the first one in one of its
// children is. What the root and its children are called does not matter. The handle stays on the
// root.
bool isListOfAsn1(ClsXml& root) {
  if (isAsn1(root)) return false;
  bool found = false;
  for (bool more = root.FirstChild2(); more && !found; more = root.NextSibling2()) {
    if (!root.FirstChild2()) continue;
    found = isAsn1(root);
    root.getParent2();
  }
  root.GetRoot2();
  return found;
}

// The two name the same things in the same order.
Found foundOf(DerKind kind) {
  return static_cast<Found>(kind);
}

bool isUtf16WithoutMark(std::string_view start) {
  return std::find(std::begin(kUtf16WithoutMark), std::end(kUtf16WithoutMark), start) !=
         std::end(kUtf16WithoutMark);
}

bool isLackOfMemory(std::string_view reason) {
  return reason == kMemoryRanOut || reason.ends_with(kNoMemoryEnding);
}

bool isUnknown(const DerShape& shape) {
  return shape.kind == DerKind::kOtherAsn1 || shape.kind == DerKind::kNotAsn1;
}

}  // namespace

bool CertificateReader::feed(std::span<const unsigned char> bytes) {
  return feed(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

bool CertificateReader::feed(std::string_view text) {
  if (m_markPossible) text = takeMark(text);
  if (m_utf16) {
    readUtf16(text);
  } else {
    readUtf8(text);
  }
  return m_form != Form::kDone;
}

// Takes a byte order mark off the start and gives what is left. What only starts like one is read.
std::string_view CertificateReader::takeMark(std::string_view text) {
  while (m_markPossible && !text.empty()) {
    m_start[m_startSize] = text.front();
    const std::string_view start(m_start.data(), m_startSize + 1);
    const auto mark = std::find_if(std::begin(kMarks), std::end(kMarks),
                                   [&](std::string_view each) { return each.starts_with(start); });
    m_markPossible = mark != std::end(kMarks) && *mark != start;
    if (mark == std::end(kMarks)) {
      const auto held = m_start;
      readUtf8({held.data(), std::exchange(m_startSize, 0)});
      return text;
    }
    text.remove_prefix(1);
    m_startSize = m_markPossible ? m_startSize + 1 : 0;
    if (!m_markPossible && *mark != kUtf8Mark) m_utf16.emplace(*mark == kUtf16BigEndianMark);
  }
  return text;
}

// Reads UTF-16 as the UTF-8 of the same characters, one piece after the other.
void CertificateReader::readUtf16(std::string_view text) {
  constexpr size_t kPiece = size_t{64} << 10;
  while (!text.empty() && m_form != Form::kDone) {
    const std::string_view piece = text.substr(0, kPiece);
    text.remove_prefix(piece.size());
    m_utf8.weakClear();
    const bool converted = m_utf16->convert(piece, m_utf8);
    if (m_utf8.failed()) return stop(kNoMemory);
    readUtf8(m_utf8.view());
    if (!converted && m_form != Form::kDone) return stop({kNotUtf16});
  }
}

void CertificateReader::readUtf8(std::string_view text) {
  if (m_form == Form::kUnknown) text = sniff(text);
  if (m_form != Form::kUnknown) read(text);
}

// Takes bytes until they tell the form, and gives those that are left.
std::string_view CertificateReader::sniff(std::string_view text) {
  while (!text.empty() && m_form == Form::kUnknown) {
    m_start[m_startSize++] = text.front();
    text.remove_prefix(1);
    if (dropBlankStart()) continue;
    if (const auto form = formOf({m_start.data(), m_startSize}, false)) settle(*form);
  }
  return text;
}

// Drops white space in front of everything else.
bool CertificateReader::dropBlankStart() {
  const char c = m_start[0];
  if (m_startSize != 1 || !isAsciiSpace(c)) return false;
  const size_t lines = c == '\r' || (c == '\n' && !m_lastWasCr) ? 1 : 0;
  m_pem.skipLines(lines);
  m_xml.skipLines(lines);
  m_lastWasCr = c == '\r';
  m_startSize = 0;
  return true;
}

std::optional<CertificateReader::Form> CertificateReader::formOf(std::string_view start,
                                                                 bool atEnd) const {
  const auto choose = [](std::optional<bool> is, Form form) {
    return is ? std::optional<Form>(*is ? form : Form::kText) : std::nullopt;
  };
  if (start.front() == '0') return choose(isSequence(start, atEnd), Form::kBinary);
  if (isUtf16WithoutMark(start)) return Form::kDone;
  if (start.front() == '\0' && start.size() == 1 && !atEnd) return std::nullopt;
  if (start.front() == '<') return choose(isAsn1Xml(start, atEnd), Form::kXml);
  return isBinary(start.front()) ? Form::kDone : Form::kText;
}

void CertificateReader::settle(Form form) {
  if (form == Form::kDone) {
    return stop({isUtf16WithoutMark({m_start.data(), m_startSize}) ? kNoUtf16Mark : kNothing});
  }
  m_form = form;
  read({m_start.data(), m_startSize});
}

void CertificateReader::read(std::string_view text) {
  switch (m_form) {
    case Form::kBinary:
      return readBinary(text);
    case Form::kText:
      return readText(text);
    case Form::kXml:
      return readXml(text);
    default:
      return;
  }
}

void CertificateReader::finish() {
  if (m_form == Form::kUnknown && m_startSize != 0) {
    settle(formOf({m_start.data(), m_startSize}, true).value_or(Form::kDone));
  }
  if (m_utf16 && !m_utf16->atBoundary() && m_form != Form::kDone) stop({kNotUtf16});
  switch (m_form) {
    case Form::kUnknown:
      return stop({"The input is empty."});
    case Form::kBinary:
      readElements(DerReader(m_binary.span(), m_consumed), false);
      break;
    case Form::kXml:
      xmlEvent(m_xml.finish());
      [[fallthrough]];
    case Form::kText:
      if (m_form == Form::kText) pemEvent(m_pem.finish());
      if (count() == 0) fail(kNothing);
      break;
    case Form::kDone:
      break;
  }
  m_form = Form::kDone;
}

// However large the pieces are that the caller has, no more of them is copied than what one
// certificate needs.
void CertificateReader::readBinary(std::string_view text) {
  constexpr size_t kPiece = size_t{256} << 10;
  while (!text.empty() && m_form == Form::kBinary) {
    const std::string_view piece = text.substr(0, kPiece);
    text.remove_prefix(piece.size());
    if (!m_binary.append(piece.data(), piece.size())) return stop(kNoMemory);
    if (m_binary.size() >= m_wanted) readWholeElements();
  }
}

// Reads the elements that are there whole and keeps what may be the start of one. A definite length
// tells at once that more is needed; what an indefinite one stands for is only walked again when
// twice as much is there.
void CertificateReader::readWholeElements() {
  DerReader elements(m_binary.span(), m_consumed);
  Asn1Element element;
  while (elements.startsWith(asn1_identifier::kSequence) && elements.readElement(element)) {
    if (element.whole.size() > kMaxDerSize) return stop(kTooLarge);
    readElement(element);
  }
  const size_t used = elements.offset() - m_consumed;
  m_binary.erase(0, used);
  m_consumed += used;
  const auto rest = m_binary.span();
  if (rest.size() > kMaxDerSize) return stop(kTooLarge);
  if (!rest.empty() && rest[0] != asn1_identifier::kSequence) {
    readElements(DerReader(rest, m_consumed), false);
    m_form = Form::kDone;
    return;
  }
  const bool isIndefinite = rest.size() > 1 && rest[1] == 0x80;
  m_wanted = isIndefinite ? std::min(2 * rest.size(), kMaxDerSize + 1) : 0;
}

void CertificateReader::readText(std::string_view text) {
  PemScanner::Event event;
  do {
    event = m_pem.advance(text);
    pemEvent(event);
  } while (event != PemScanner::Event::kNone);
}

void CertificateReader::pemEvent(PemScanner::Event event) {
  if (event == PemScanner::Event::kNone) return;
  m_place.label = m_pem.label();
  m_place.line = m_pem.line();
  const bool saysPrivateKey = m_place.label.ends_with("PRIVATE KEY");
  const auto der = m_pem.der();
  if (m_pem.encrypted() && saysPrivateKey) {
    failAs(Found::encryptedPrivateKey, "An encrypted private key, not a certificate.");
  } else if (event == PemScanner::Event::kFault) {
    fail({m_pem.reason(), std::nullopt, m_pem.faultLine()});
  } else if (der.empty()) {
    fail("The PEM block is empty.");
  } else if (m_place.label.empty() && der[0] != 0x30) {
    fail(kNothing);
  } else if (saysPrivateKey && isUnknown(classifyDer(der))) {
    failAs(Found::privateKey, "A private key, not a certificate.");
  } else {
    readElements(DerReader(der), m_place.label == "TRUSTED CERTIFICATE");
  }
}

void CertificateReader::readXml(std::string_view text) {
  XmlSplitter::Event event = XmlSplitter::Event::kNone;
  do {
    event = m_xml.advance(text);
    xmlEvent(event);
  } while (event != XmlSplitter::Event::kNone && m_form == Form::kXml);
  if (m_form == Form::kText) readText(text);
}

void CertificateReader::xmlEvent(XmlSplitter::Event event) {
  m_place.line = m_xml.line();
  switch (event) {
    case XmlSplitter::Event::kNone:
      return;
    case XmlSplitter::Event::kDocument:
      return xmlDocument();
    case XmlSplitter::Event::kForeign:
      m_form = Form::kText;
      return readText(m_xml.document());
    case XmlSplitter::Event::kFault:
      return fail(m_xml.reason());
    case XmlSplitter::Event::kFatal:
      return stop({m_xml.reason()});
  }
}

// Fails with the error on the log: a sentence, and the place in the document that it speaks of.
void CertificateReader::failAsLogged() {
  StringBuffer reason(m_log.error());
  if (!m_log.place().empty()) {
    if (reason.view().ends_with('.')) reason.truncate(reason.getSize() - 1);
    reason.append(" (");
    reason.append(m_log.place());
    reason.append(").");
  }
  const bool isWhole = !m_log.empty() && !m_log.failed() && !reason.failed();
  if (!isWhole || isLackOfMemory(m_log.error())) return fail(kNoMemory);
  fail(reason.view());
}

void CertificateReader::xmlDocument() {
  const XmlEncoding utf16 = m_utf16 && m_utf16->bigEndian() ? XmlEncoding::kUtf16BigEndian
                                                            : XmlEncoding::kUtf16LittleEndian;
  const char* const fault =
      m_xml.declaration().fault(m_utf16 ? utf16 : XmlEncoding::kUtf8, m_xml.document());
  if (fault != nullptr) return fail(fault);
  m_log.clear();
  _clsOwner tree(ClsXml::createNewCls());
  if (!tree || !tree->loadXml(m_xml.document(), true, m_log)) return failAsLogged();
  if (isListOfAsn1(*tree)) {
    readXmlList(*tree);
  } else {
    readXmlElement(*tree);
  }
}

// What follows the first element in a wrapper is passed over, as loading does.
void CertificateReader::readXmlList(ClsXml& root) {
  for (bool more = root.FirstChild2(); more; more = root.NextSibling2()) {
    if (root.FirstChild2()) {
      readXmlElement(root);
      root.getParent2();
    } else {
      fail("An XML element without a certificate in it.");
    }
  }
}

void CertificateReader::readXmlElement(ClsXml& root) {
  m_log.clear();
  DataBuffer der;
  if (!DerXmlCodec::xmlToDer(root, der, m_log)) return failAsLogged();
  if (der.size() > kMaxDerSize) return fail(kTooLarge);
  readElements(DerReader(der.span()), false);
}

// Reads the elements that stand in a row, or the first one alone.
void CertificateReader::readElements(DerReader elements, bool firstOnly) {
  Asn1Element element;
  while (!elements.atEnd()) {
    const size_t offset = elements.offset();
    if (offset != 0 && !elements.startsWith(asn1_identifier::kSequence)) {
      return fail({"Octets that are no certificate follow.", offset, 0, ErrorCode::trailingOctets});
    }
    if (!elements.readElement(element)) return failAtFault(elements.fault());
    readElement(element);
    if (firstOnly) return;
  }
}

// What parses has the shape of a certificate; of the rest the shape tells what it is, or that it is
// a certificate in BER.
void CertificateReader::readElement(const Asn1Element& element) {
  const auto octets = octetsOf(element.whole);
  const Result<Certificate> typed = Certificate::parseBytes(element.whole);
  if (typed) return give(octets, typed);
  const DerShape shape = classifyDer(octets, element.offset);
  switch (shape.kind) {
    case DerKind::kCertificate:
      return give(octets, typed);
    case DerKind::kPkcs7:
      return readBundle(element);
    default:
      return failAs(shape, octets);
  }
}

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT SignedData }
// SignedData ::= SEQUENCE { version INTEGER, digestAlgorithms SET, contentInfo SEQUENCE,
//   certificates [0] IMPLICIT CertificateSet OPTIONAL, crls [1] ... OPTIONAL, signerInfos SET }
// CertificateSet ::= SET OF CHOICE { Certificate, [0] ..., [1] ..., [2] ..., [3] ... }
void CertificateReader::readBundle(const Asn1Element& contentInfo) {
  Asn1Element content;
  DerReader info(contentInfo);
  info.readElement(content);
  info.readElement(content);
  Asn1Element signedData;
  Asn1Element member;
  if (!DerReader(content).readElement(signedData) || !signedData.header.is(asn1_tag::kSequence)) {
    return failAs(Found::pkcs7, "A PKCS #7 bundle without SignedData.", content.offset);
  }
  DerReader fields(signedData);
  while (fields.readElement(member) && member.header.tagClass != Asn1Class::kContextSpecific)
    continue;
  DerReader certificates(member);
  if (!member.header.isContext(0) || certificates.atEnd()) {
    return failAs(Found::pkcs7, "A PKCS #7 bundle without certificates.");
  }
  while (certificates.readElement(member)) readBundleMember(member);
}

void CertificateReader::readBundleMember(const Asn1Element& member) {
  if (member.header.tagClass == Asn1Class::kContextSpecific) {
    return failAs(Found::otherAsn1,
                  "An attribute certificate or the like, not an X.509 certificate.", member.offset);
  }
  const auto octets = octetsOf(member.whole);
  const Result<Certificate> typed = Certificate::parseBytes(member.whole);
  if (typed) return give(octets, typed);
  const DerShape shape = classifyDer(octets, member.offset);
  if (!shape.isCertificate()) return failAs(foundOf(shape.kind), shape.text, shape.offset);
  size_t size = 0;
  bool isDer = false;
  Asn1Fault fault;
  if (scanBer(octets, size, isDer, fault) && isDer) return give(octets, typed);
  m_converted.clear();
  BerWalk walk(octets);
  if (berToDer(walk, m_converted)) {
    return give(m_converted.span(), Certificate::parse(m_converted.span()));
  }
  if (m_converted.failed() || walk.fault().noMemory) return fail(kNoMemory);
  fail("A certificate that cannot be converted to DER.", member.offset);
}

void CertificateReader::give(std::span<const unsigned char> der, const Result<Certificate>& typed) {
  m_sink.certificate(m_place, der, typed);
  ++m_place.index;
}

void CertificateReader::fail(const CertificateFailure& failure) {
  m_sink.failure(m_place, isLackOfMemory(failure.reason) ? kNoMemory : failure);
  ++m_place.index;
}

// Hands out the octets of what holds a public key, and never those of a secret.
void CertificateReader::failAs(const DerShape& shape, std::span<const unsigned char> octets) {
  const Found found = foundOf(shape.kind);
  const bool holdsKey = found == Found::publicKey || found == Found::request;
  const bool isAsn1 = found != Found::notAsn1;
  fail({shape.text, shape.offset, 0, isAsn1 ? ErrorCode::notACertificate : ErrorCode::notAsn1,
        found, holdsKey ? octets : std::span<const unsigned char>()});
}

// Refuses the input as a whole and holds nothing of it any more.
void CertificateReader::stop(const CertificateFailure& failure) {
  m_form = Form::kDone;
  DataBuffer().swap(m_binary);
  fail(failure);
}

namespace {

// Loads what is found into holders.
class HolderSink final : public CertificateSink {
 public:
  HolderSink(ExtPtrArray& out, LogBase& log) : m_out(out), m_log(log) {}

  bool complete() const noexcept { return m_complete; }

  void certificate(const CertificatePlace& place, std::span<const unsigned char> der,
                   const Result<Certificate>&) override {
    VelmoraX509Holder* holder =
        VelmoraX509Holder::createFromDer(der.data(), static_cast<unsigned int>(der.size()), m_log);
    if (holder != nullptr && m_out.appendObject(holder)) return;
    failure(place, {"A certificate that could not be loaded.", std::nullopt});
  }

  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    m_complete = false;
    const StringBuffer reason(failure.reason);
    m_log.LogError(reason.getString());
    m_log.LogDataLong("index", static_cast<int64_t>(place.index));
    if (failure.offset) m_log.LogDataLong("offset", static_cast<int64_t>(*failure.offset));
    if (!place.label.empty()) m_log.LogData("label", place.label);
    if (place.line != 0) m_log.LogDataLong("line", static_cast<int64_t>(place.line));
    if (failure.line != 0) m_log.LogDataLong("faultLine", static_cast<int64_t>(failure.line));
  }

 private:
  ExtPtrArray& m_out;
  LogBase& m_log;
  bool m_complete = true;
};

}  // namespace

bool readCertificates(std::span<const unsigned char> bytes, ExtPtrArray& out, LogBase& log) {
  LogContextExitor context(log, "readCertificates");
  HolderSink sink(out, log);
  CertificateReader reader(sink);
  reader.feed(bytes);
  reader.finish();
  return sink.complete();
}

bool readCertificates(std::string_view bytes, ExtPtrArray& out, LogBase& log) {
  return readCertificates(bytesOf(bytes), out, log);
}

}  // namespace velmora
