#include "velmora/reading/certificate_reader.h"

#include <cerrno>

#include "tests/common/certificate_files.h"
#include "tests/x509/x509_test.h"
#include "velmora/reading/file_pieces.h"

namespace velmora::test {
namespace {

using std::string_literals::operator""s;

const std::string kA = withSubject(der::name({{"2.5.4.3", "A"}}));
const std::string kB = withSubject(der::name({{"2.5.4.3", "B"}}));
const std::string kC = withSubject(der::name({{"2.5.4.3", "C"}}));
const std::string kUmlaut = withSubject(der::name({{"2.5.4.3", "\xFC"}}));
// SignedData with CRLs alone, which are the first context-specific element in it.
const std::string kCrlBundle = sequence(
    der::oid("1.2.840.113549.1.7.2"), context(0, sequence(integer("\x01"), set(), context(1, kB))));
const std::string kKey =
    sequence(integer("\0"s), algorithm("1.2.840.113549.1.1.1"), octets("the secret of this key"));

std::string readFile(const std::string& name) {
  return fileContent(VELMORA_SOURCE_DIR "/tests/data/reader/" + name);
}

// ASCII as UTF-16, with its mark.
std::string utf16(std::string_view text) {
  std::string out = "\xFF\xFE";
  for (const char c : text) out.append({c, '\0'});
  return out;
}

std::string wrapped(std::string_view der) {
  return "<cert>" + xmlOf(der) + "</cert>";
}
std::string list(const std::string& wrappers) {
  return "<certs>" + wrappers + "</certs>";
}

// What a reader found: for each item the DER of a certificate, or "!" and the reason.
class Found final : public CertificateSink {
 public:
  void certificate(const CertificatePlace& place, std::span<const unsigned char> bytes,
                   const Result<Certificate>& typed) override {
    const auto parsed = Certificate::parse(bytes);
    EXPECT_TRUE(typed ? parsed && *typed == *parsed : typed.error() == parsed.error());
    take(place, std::string(bytes.begin(), bytes.end()));
  }
  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    EXPECT_FALSE(failure.reason.empty());
    take(place, std::string(1, '!').append(failure.reason));
    if (failure.offset) offsets.push_back(*failure.offset);
    faultLines.push_back(failure.line);
  }

  std::vector<std::string> items, labels;
  std::vector<size_t> lines, offsets, faultLines;

 private:
  void take(const CertificatePlace& place, std::string item) {
    EXPECT_EQ(place.index, items.size());
    items.push_back(std::move(item));
    labels.emplace_back(place.label);
    lines.push_back(place.line);
  }
};

Found readIn(const std::string& input, size_t pieceSize) {
  Found found;
  CertificateReader reader(found);
  for (size_t at = 0; at < input.size(); at += pieceSize) {
    if (!reader.feed(std::string_view(input).substr(at, pieceSize))) break;
  }
  reader.finish();
  EXPECT_EQ(reader.count(), found.items.size());
  return found;
}

using Items = std::vector<std::string>;

const std::string kNothing = "!No certificate: neither DER, PEM, base64 of DER nor ASN.1 XML.";
const std::string kNotBase64 = "!The PEM block holds a line that is not base64.";
const std::string kBeside = "!Text on the line of a PEM BEGIN or END.";
const std::string kMalformed = "!A PEM BEGIN or END that is malformed.";
const std::string kNotAsDeclared = "!"s + kXmlNotAsDeclared;
const std::string kNoUtf16Mark = "!UTF-16 without a byte order mark.";
const std::string kEmptyWrapper = "!An XML element without a certificate in it.";
const std::string kNoBundle = "!A PKCS #7 bundle without certificates.";
const std::string kNoEnd = "!The PEM block has no END line.";
const std::string kNoBegin = "!A PEM END without a BEGIN.";
const std::string kOther = "!ASN.1, but not a certificate.";
const std::string kIsKey = "!A private key (PKCS #8), not a certificate.";

// What it is, the input, and what is found in it.
std::vector<std::tuple<const char*, std::string, Items>> readCases() {
  const std::string ber = "\x30\x80"s + kA.substr(3) + "\0\0"s;
  const std::string begin = "-----BEGIN CERTIFICATE-----\n";
  const std::string end = "-----END CERTIFICATE-----\n";
  const std::string onOneLine = pemOf(kA, "X", "").append("\t") + pemOf(kB, "Y", "");
  return {
      {"DER in a row", kA + kB + kA, {kA, kB, kA}},
      {"mark and white space before DER", "\xEF\xBB\xBF \r\n" + kA, {kA}},
      {"BER as it stands", ber + kB, {ber, kB}},
      {"junk behind DER", kA + "\n", {kA, "!Octets that are no certificate follow."}},
      {"damage inside one of a row",
       sequence(sequence("\x02\x05\x01"s)) + kB,
       {"!An element is longer than what holds it.", kB}},
      {"bundle with what is no certificate",
       der::bundle(kA, context(1, "\x05\0"s), kKey, kB) + der::bundle() + kCrlBundle,
       {kA, "!An attribute certificate or the like, not an X.509 certificate.", kIsKey, kB,
        kNoBundle, kNoBundle}},
      {"PEM with text around",
       "0 s:CN = x\n" + pemOf(kA) + "words\n" + pemOf(kB) + "more",
       {kA, kB}},
      {"PEM, CR", pemOf(kA, "X", "\r") + pemOf(kB, "X", "\r"), {kA, kB}},
      {"PEM, indented", "  -----BEGIN X-----\n  " + base64Of(kA) + "\n\t-----END X-----", {kA}},
      {"PEM on one line", "-----BEGIN X----- " + base64Of(kA) + " -----END X-----", {kA}},
      {"PEM with header lines",
       begin + "Subject: x\r\n folded: y\nBag-Attributes: z\n\n" + base64Of(kA) + "\n" + end,
       {kA}},
      {"PEM, what it holds and not its label",
       pemOf(kKey) + pemOf(der::bundle(kA, kB), "CERTIFICATE") + pemOf(kC, "PKCS7"),
       {kIsKey, kA, kB, kC}},
      {"PEM, END missing", begin + base64Of(kA) + "\n" + pemOf(kB), {kNoEnd, kB}},
      {"PEM, not base64",
       begin + "MII*\n" + base64Of(kA) + "\n" + end + pemOf(kB),
       {kNotBase64, kB}},
      {"PEM, what no header is called",
       begin + "Bag_Attributes: z\n\n" + base64Of(kA) + "\n" + end + pemOf(kB),
       {kNotBase64, kB}},
      {"PEM, data behind padding", begin + "MAA=MAA=\n" + end + pemOf(kB), {kNotBase64, kB}},
      {"PEM, empty, and base64 cut",
       begin + end + begin + "MAAAA\n" + end + pemOf(kB),
       {"!The PEM block is empty.", "!The base64 text is cut short.", kB}},
      {"PEM, encrypted key",
       pemOf(kA.substr(1), "OPENSSH PRIVATE KEY"),
       {"!A private key, not a certificate."}},
      {"PEM, lines of dashes", "-----\n- END\n" + std::string(500, '-') + "\n" + pemOf(kA), {kA}},
      {"PEM, BEGIN behind END", onOneLine + pemOf(kA), {kA, kB, kA}},
      {"PEM, markers behind a fault",
       "-----BEGIN X-----\nA-B-----END X----------BEGIN X----- : -----BEGIN X-----" + base64Of(kA) +
           "-----END X-----\n",
       {kNotBase64, kNoEnd, kA}},
      {"PEM, text beside markers",
       "a -----BEGIN X-----\n" + base64Of(kA) + "\n-----END X----- b\n" + onOneLine + "c " +
           onOneLine + "\nd\n",
       {kBeside, kA, kBeside, kA, kB, kBeside, kA, kB}},
      {"PEM, longest label", pemOf(kA, std::string(122, 'X')), {kA}},
      {"PEM, dashes end the text", pemOf(kA, "X", "") + "--", {kA, kBeside}},
      {"PEM, half a marker ends the text", pemOf(kA, "X", "") + "--BEGI", {kA, kBeside}},
      {"PEM, END alone", end + pemOf(kA) + end + end, {kNoBegin, kA, kNoBegin, kNoBegin}},
      {"PEM, malformed markers",
       "-----BEGIN\n-----BEGIN X----\n------END X-----\n-- BEGIN\n-----BEGIN " +
           std::string(123, 'X') + "-----\n-" + pemOf(kA) + begin + "MA----END X-----" + begin +
           "--MA\n-----END" + begin + "X: --END",
       {kMalformed, kMalformed, kMalformed, kMalformed, kMalformed, kMalformed, kA, kMalformed,
        kNotBase64, kMalformed, kMalformed}},
      {"base64", base64Of(kA).insert(76, "\r\n"), {kA}},
      {"base64 without padding", base64Of(kA).substr(0, base64Of(kA).find('=')), {kA}},
      {"text that starts like base64", "MAC\n" + pemOf(kA), {kA}},
      {"XML in a row", xmlOf(kA) + "\n<!-- <x> --><?pi <y> ?>" + xmlOf(kB), {kA, kB}},
      {"XML, quoted and CDATA",
       "<printable a='>'><![CDATA[</printable>]]></printable>" + xmlOf(kA),
       {kOther, kA}},
      {"XML, lists",
       list(wrapped(kA) + "<!-- --><sequence>" + xmlOf(kB) + "<more/></sequence>") + "\n" +
           xmlOf(kC) + list(wrapped(der::bundle(kC, kA))),
       {kA, kB, kC, kC, kA}},
      {"XML, a list with something before it, and white space",
       "<?xml version='1.0'?><!-- --><l a='/>'>" + std::string(20000, ' ') + wrapped(kA) + "</l>",
       {kA}},
      {"XML, lists with what is no certificate",
       list("words<c></c><c/>" + wrapped(kKey) + "<c><d/></c>" + wrapped(kA)) + list(xmlOf(kA)) +
           list("") + list(wrapped(kB)),
       {kEmptyWrapper, kEmptyWrapper, kIsKey,
        "!The element is not of the ASN.1 XML form (element d).", kA, kOther,
        "!The element is not of the ASN.1 XML form (element certs).", kB}},
      {"XML, lists in a list", list(list(wrapped(kA))), {kNothing}},
      {"XML, an empty list", list("<c></c>"), {kNothing}},
      {"XML, text between",
       xmlOf(kA) + "words" + xmlOf(kB),
       {kA, "!Text outside the XML documents.", kB}},
      {"XML cut", xmlOf(kA) + "<sequence><int>", {kA, "!The XML document is not complete."}},
      {"XML, DOCTYPE",
       "<!-- --><!DOCTYPE x [<!ENTITY y \"z\">]>" + xmlOf(kA),
       {"!A DOCTYPE or other declaration, which is not accepted."}},
      {"XML, declared as what is read",
       "<?xml encoding='UTF-8'?>" + xmlOf(kUmlaut) + "<?xml encoding='US-ASCII'?>" + xmlOf(kA) +
           xmlOf(kUmlaut) + "<?xml encoding='latin1'?>",
       {kUmlaut, kA, kUmlaut}},
      {"XML, declared as what is not read",
       "<?xml encoding='US-ASCII'?> <?xmlx?>" + xmlOf(kUmlaut) + "<?xml encoding='latin1'?>" +
           xmlOf(kA) + "<?xml encoding='UTF-16'?>" + xmlOf(kA) + xmlOf(kB) +
           "<?xml encoding='UTF?-8'?>" + xmlOf(kA) + "<?xml ?><?xml encoding='latin1'?>" +
           xmlOf(kA) + "<?xml ?><?xml encoding='UTF-8'?>" + xmlOf(kC),
       {kNotAsDeclared, "!"s + kXmlOtherEncoding, "!"s + kXmlNoUtf16Mark, kB,
        "!"s + kXmlOtherEncoding, "!"s + kXmlOtherEncoding, kC}},
      {"XML in UTF-16",
       utf16("<?xml encoding='UTF-16'?>" + xmlOf(kA) + "<?xml encoding='UTF-8'?>" + xmlOf(kB)),
       {kA, kNotAsDeclared}},
      {"PEM in UTF-16", utf16("\n" + pemOf(kA)), {kA}},
      {"PEM in UTF-16, cut", utf16(pemOf(kA)) + '-', {kA, "!The text is not UTF-16."}},
      {"PEM in UTF-16, unpaired surrogate",
       utf16(pemOf(kA)) + "\0\xDC\n\0"s + utf16(pemOf(kB)),
       {kA, "!The text is not UTF-16."}},
      {"UTF-16 without its mark", utf16(xmlOf(kA)).substr(2), {kNoUtf16Mark}},
      {"UTF-16 in the other order without its mark",
       "\0"s + utf16(xmlOf(kA)).substr(2),
       {kNoUtf16Mark}},
      {"other XML", "<html>\n" + pemOf(kA) + "</html>", {kA}},
      {"other XML, cut", "<html><body>\n" + pemOf(kA), {kA}},
      {"other XML, DOCTYPE inside", "<set2><!DOCTYPE><set/>\n" + pemOf(kA), {kA}},
      {"other XML, three levels", "<x><y><z><set/></z></y></x>\n" + pemOf(kA), {kA}},
      {"other XML, long", "<x>" + std::string(20000, ' ') + "\n" + pemOf(kA) + "<set/></x>", {kA}},
      {"empty", "", {"!The input is empty."}},
      {"half a mark", "\xEF\xBB", {kNothing}},
      {"half a mark before PEM", "\xEF\xBB\n" + pemOf(kA), {kA}},
      {"text of digits", "00:11:22", {kNothing}},
  };
}

TEST(CertificateReader, ReadsEveryFormInPiecesOfAnySize) {
  for (const auto& [name, input, items] : readCases()) {
    for (const size_t pieceSize : {size_t{1}, size_t{7}, size_t{100}, size_t{1} << 20}) {
      EXPECT_EQ(readIn(input, pieceSize).items, items) << name << ", pieces of " << pieceSize;
    }
  }
}

TEST(CertificateReader, TellsWhereAFailureIs) {
  const Found inPem = readIn("\r\n\nwords\r\n" + pemOf(kKey, "SOME KEY") + pemOf(kA + "!"), 3);
  EXPECT_EQ(inPem.lines, (std::vector<size_t>{4, 7, 7}));
  EXPECT_EQ(inPem.labels, (Items{"SOME KEY", "CERTIFICATE", "CERTIFICATE"}));
  EXPECT_EQ(inPem.offsets, (std::vector<size_t>{kA.size()}));  // and none for the key

  const std::string begin = "-----BEGIN X-----\r\n";
  const Found inLine = readIn(begin + "MAAA\r\nMA*A\r\n" + begin + "MAAA\n" + begin +
                                  "MAA=\n-----END X----- ?\n-----END Y-----",
                              3);
  EXPECT_EQ(inLine.lines, (std::vector<size_t>{1, 4, 6, 8, 9}));
  EXPECT_EQ(inLine.faultLines, (std::vector<size_t>{3, 0, 0, 8, 9}));
  EXPECT_EQ(inLine.labels, (Items{"X", "X", "X", "", "Y"}));
  EXPECT_EQ(readIn("MAAwAA==", 3).lines, (std::vector<size_t>{0, 0}));

  const Found inXml =
      readIn(std::string(1, '\n') + xmlOf(kA) + "\n\n<sequence>\n</set>" + xmlOf(kB), 3);
  EXPECT_EQ(inXml.lines.at(0), 2U);
  EXPECT_EQ(inXml.lines.at(1), 4U);
  EXPECT_EQ(inXml.items.at(1).front(), '!');

  const std::string damaged = sequence(sequence("\x02\x05\x01"s));
  EXPECT_EQ(readIn(kA + damaged, 9).offsets, (std::vector<size_t>{kA.size() + 5}));
}

TEST(CertificateReader, ReadsBundlesOfOtherProgramsAsLoadingThemDoes) {
  const Items three = {readFile("three_0.der"), readFile("three_1.der"), readFile("three_2.der")};
  for (const char* name : {"three.pem", "three_der.p7b", "three_pem.p7b", "three_ber.p7b"}) {
    const std::string input = readFile(name);
    EXPECT_EQ(readIn(input, 1000).items, three) << name;
    SystemCerts store;
    VelmoraX509 loaded;
    LogNull log;
    EXPECT_EQ(load(loaded, input, log, &store), input[0] == '0') << name;
    EXPECT_EQ(contentsOf(store), input[0] == '0' ? three : Items()) << name;
  }
  EXPECT_EQ(readIn(readFile("trusted.pem"), 1000).items, Items{three[0]});
  LogNull log;
  VelmoraX509 crl;  // loading alone takes what such a bundle holds
  EXPECT_TRUE(load(crl, kCrlBundle, log));
}

// Elements of exactly the limit, and of one octet more.
TEST(CertificateReader, RefusesWhatIsTooLargeAndGoesOn) {
  constexpr size_t kHeader = 6;
  constexpr size_t kPiece = size_t{1} << 20;
  for (const size_t size : {CertificateReader::kMaxDerSize, CertificateReader::kMaxDerSize + 1}) {
    const bool fits = size <= CertificateReader::kMaxDerSize;
    const std::string item = fits ? kOther : "!The DER is larger than 64 MiB.";
    std::string large = der::join("\x30", der::lengthOctets(size - kHeader), "\x04",
                                  der::lengthOctets(size - 2 * kHeader));
    large.resize(size);
    EXPECT_EQ(readIn(large, kPiece).items, Items{item});
    EXPECT_EQ(readIn(large, large.size()).items, Items{item});
    const Found behind = readIn(kA + large + large + kB, kPiece);
    EXPECT_EQ(behind.items, fits ? (Items{kA, item, item, kB}) : (Items{kA, item}));
    EXPECT_EQ(readIn(pemOf(large) + pemOf(kA), kPiece).items, (Items{item, kA}));
  }
}

// Likewise XML; and what stands in front of the first ASN.1 element, 16 KiB and one byte more.
TEST(XmlSplitter, HoldsNoMoreThanItMay) {
  using Event = XmlSplitter::Event;
  const auto first = [](std::string_view text, size_t most) {
    return XmlSplitter(most).advance(text);
  };
  const std::string document = xmlOf(kA);
  EXPECT_EQ(first(document, document.size()), Event::kDocument);
  EXPECT_EQ(first(document, document.size() - 1), Event::kFault);
  const std::string element = "<sequence";
  for (const size_t room : {size_t{16384}, size_t{16385}}) {
    const std::string front = "<l>" + std::string(room - element.size() - 6, ' ') + "<c>";
    EXPECT_EQ(first(front + element + "></sequence></c></l>", CertificateReader::kMaxXmlSize),
              room == 16384 ? Event::kDocument : Event::kForeign);
  }
}

TEST(CertificateReader, StopsAtOnceOnWhatCannotBeAnInput) {
  Found found;
  CertificateReader reader(found);
  EXPECT_FALSE(reader.feed(std::string_view("\x01")));
  EXPECT_FALSE(reader.feed(pemOf(kA)));
  reader.finish();
  EXPECT_EQ(found.items, Items{kNothing});
}

TEST(ReadCertificates, AppendsHoldersAndReportsTheRest) {
  ExtPtrArray out;
  LogText log;
  EXPECT_TRUE(readCertificates(pemOf(kA), out, log));
  EXPECT_FALSE(readCertificates(pemOf(kB) + pemOf(kKey, "KEY") + pemOf(kC), out, log));
  ASSERT_EQ(out.getSize(), 3);
  const char* expected[] = {"CN=A", "CN=B", "CN=C"};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(subjectOf(*VelmoraX509Holder::getNthX509(out, i)), expected[i]);
  }
  EXPECT_TRUE(log.text().containsSubstring(
      "ERROR: A private key (PKCS #8), not a certificate.\n  index: 1\n  label: KEY"))
      << log.text().view();
  EXPECT_FALSE(log.text().containsSubstring("secret"));
  EXPECT_FALSE(log.text().containsSubstring("faultLine"));
}

TEST(ReadPieces, AnInterruptionLongAgoDoesNotRepeatTheEnd) {
  std::string content;
  const auto take = [&](std::span<const unsigned char> piece) {
    content.append(piece.begin(), piece.end());
    errno = EINTR;
    return true;
  };
  EXPECT_EQ(readPieces(VELMORA_SOURCE_DIR "/tests/data/reader/label.pem", take), 0);
  EXPECT_EQ(content, readFile("label.pem"));
}

}  // namespace
}  // namespace velmora::test
