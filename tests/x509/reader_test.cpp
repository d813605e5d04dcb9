#include "x509/certificate_reader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "support/asn1/der_xml_codec.h"
#include "support/log/log_sinks.h"
#include "support/text/byte_codecs.h"
#include "tests/common/der_builder.h"
#include "x509/velmora_x509.h"

namespace velmora {
namespace {

namespace der = test::der;
using std::string_literals::operator""s;

std::string certificate(const char* commonName) {
  der::Certificate fields;
  fields.subject = der::name({{"2.5.4.3", commonName}});
  return fields.der();
}

const std::string kA = certificate("A");
const std::string kB = certificate("B");
const std::string kC = certificate("C");
const std::string kKey = der::sequence(der::integer("\0"s), der::algorithm("1.2.840.113549.1.1.1"),
                                       der::octets("the secret of this key"));

std::string base64(const std::string& bytes) {
  std::string text(base64Length(bytes.size()), '\0');
  base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), text.data());
  return text;
}

std::string broken(std::string_view text, size_t width, std::string_view lineEnd) {
  std::string lines(text.substr(0, width));
  for (size_t at = width; at < text.size(); at += width) {
    lines.append(lineEnd).append(text.substr(at, width));
  }
  return lines;
}

std::string pem(const std::string& bytes, const std::string& label = "CERTIFICATE",
                const std::string& lineEnd = "\n") {
  return "-----BEGIN " + label + "-----" + lineEnd + broken(base64(bytes), 64, lineEnd) + lineEnd +
         "-----END " + label + "-----" + lineEnd;
}

std::string xml(const std::string& bytes) {
  StringBuffer text;
  Asn1Fault fault;
  EXPECT_TRUE(DerXmlCodec::derToXml(
      {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}, text, fault));
  return std::string(text.view());
}

std::string readFile(const std::string& name) {
  std::ifstream file(std::string(VELMORA_SOURCE_DIR "/tests/data/reader/") + name,
                     std::ios::binary);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

// What a reader found: for each item the DER of a certificate, or "!" and the reason.
class Found final : public CertificateSink {
 public:
  void certificate(const CertificatePlace& place, std::span<const unsigned char> bytes) override {
    take(place, std::string(bytes.begin(), bytes.end()));
  }
  void failure(const CertificatePlace& place, const CertificateFailure& failure) override {
    EXPECT_FALSE(failure.reason.empty());
    take(place, std::string(1, '!').append(failure.reason));
    if (failure.offset) offsets.push_back(*failure.offset);
    faultLines.push_back(failure.line);
  }

  std::vector<std::string> items;
  std::vector<std::string> labels;
  std::vector<size_t> lines;
  std::vector<size_t> offsets;
  std::vector<size_t> faultLines;

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
const std::string kIsKey = "!A private key (PKCS #8), not a certificate.";

struct ReadCase {
  const char* name;
  std::string input;
  Items items;
};

std::vector<ReadCase> readCases() {
  const std::string crlf = pem(kA, "CERTIFICATE", "\r\n");
  const std::string ber = "\x30\x80"s + kA.substr(3) + "\0\0"s;
  const std::string begin = "-----BEGIN CERTIFICATE-----\n";
  const std::string end = "-----END CERTIFICATE-----\n";
  const std::string cut = kA.substr(0, kA.size() - 1);
  return {
      {"one DER", kA, {kA}},
      {"DER in a row", kA + kB + kA, {kA, kB, kA}},
      {"mark and white space before DER", "\xEF\xBB\xBF \r\n" + kA, {kA}},
      {"BER as it stands", ber + kB, {ber, kB}},
      {"junk behind DER", kA + "\n", {kA, "!Octets that are no certificate follow."}},
      {"damage inside one of a row",
       der::sequence(der::sequence("\x02\x05\x01"s)) + kB,
       {"!An element is longer than what holds it.", kB}},
      {"bundle", der::bundle(kA, kB, kA), {kA, kB, kA}},
      {"bundle with what is no certificate",
       der::bundle(kA, der::context(1, "\x05\0"s), kKey, kB),
       {kA, "!An attribute certificate or the like, not an X.509 certificate.", kIsKey, kB}},
      {"bundle without certificates", der::bundle(), {"!A PKCS #7 bundle without certificates."}},
      {"PEM with text around", "0 s:CN = x\n" + pem(kA) + "words\n" + pem(kB) + "more", {kA, kB}},
      {"PEM, CR LF", crlf, {kA}},
      {"PEM, CR", pem(kA, "X", "\r") + pem(kB, "X", "\r"), {kA, kB}},
      {"PEM, indented", "  -----BEGIN X-----\n  " + base64(kA) + "\n\t-----END X-----", {kA}},
      {"PEM, long line", begin + base64(kA + kB) + "\n" + end, {kA, kB}},
      {"PEM, short lines", begin + broken(base64(kA), 1, "\r\n") + "\n" + end, {kA}},
      {"PEM on one line", "-----BEGIN X----- " + base64(kA) + " -----END X-----", {kA}},
      {"PEM, tiny, on one line",
       "-----BEGIN X-----MAA=-----END X-----",
       {"!ASN.1, but not a certificate."}},
      {"PEM with header lines",
       begin + "Subject: x\r\n folded: y\nBag-Attributes: z\n\n" + base64(kA) + "\n" + end,
       {kA}},
      {"PEM, what it holds and not its label",
       pem(kKey) + pem(der::bundle(kA, kB), "CERTIFICATE") + pem(kC, "PKCS7"),
       {kIsKey, kA, kB, kC}},
      {"PEM, trust behind the certificate", pem(kA + "\x30\x00junk"s, "TRUSTED CERTIFICATE"), {kA}},
      {"PEM, END missing",
       begin + base64(kA) + "\n" + pem(kB),
       {"!The PEM block has no END line.", kB}},
      {"PEM, END missing at the end",
       pem(kA) + begin + base64(kB),
       {kA, "!The PEM block has no END line."}},
      {"PEM, not base64",
       begin + "MII*\n" + base64(kA) + "\n" + end + pem(kB),
       {"!The PEM block holds a line that is not base64.", kB}},
      {"PEM, data behind padding",
       begin + "MAA=MAA=\n" + end + pem(kB),
       {"!The PEM block holds a line that is not base64.", kB}},
      {"PEM, base64 cut",
       begin + "MAAAA\n" + end + pem(kB),
       {"!The base64 text is cut short.", kB}},
      {"PEM, empty", begin + end + pem(kB), {"!The PEM block is empty.", kB}},
      {"PEM, DER cut", pem(cut) + pem(kB), {"!An element is longer than what holds it.", kB}},
      {"PEM, encrypted key",
       pem(cut, "OPENSSH PRIVATE KEY"),
       {"!A private key, not a certificate."}},
      {"END without BEGIN", end + pem(kA), {kA}},
      {"lines of dashes", "-----\n-----BEGIN\n" + std::string(500, '-') + "\n" + pem(kA), {kA}},
      {"base64", broken(base64(kA), 76, "\r\n"), {kA}},
      {"base64 without padding", base64(kA).substr(0, base64(kA).find('=')), {kA}},
      {"text that starts like base64", "MAC\n" + pem(kA), {kA}},
      {"XML in a row", xml(kA) + "\n<!-- <x> --><?pi <y> ?>" + xml(kB), {kA, kB}},
      {"XML with a declaration", "<?xml version=\"1.0\"?>\n" + xml(kA), {kA}},
      {"XML of a bundle", xml(der::bundle(kA, kB)), {kA, kB}},
      {"XML, quoted and CDATA",
       "<printable a='>'><![CDATA[</printable>]]></printable>" + xml(kA),
       {"!ASN.1, but not a certificate.", kA}},
      {"XML, text between",
       xml(kA) + "words" + xml(kB),
       {kA, "!Text outside the XML documents.", kB}},
      {"XML cut", xml(kA) + "<sequence><int>", {kA, "!The XML document is not complete."}},
      {"XML, DOCTYPE",
       "<!-- --><!DOCTYPE x [<!ENTITY y \"z\">]>" + xml(kA),
       {"!A DOCTYPE or other declaration, which is not accepted."}},
      {"other XML", "<html>\n" + pem(kA) + "</html>", {kA}},
      {"empty", "", {"!The input is empty."}},
      {"white space", " \n", {"!The input is empty."}},
      {"half a mark", "\xEF\xBB", {kNothing}},
      {"zeros", std::string(5000, '\0'), {kNothing}},
      {"text", "no certificate here", {kNothing}},
      {"text of digits", "00:11:22", {kNothing}},
      {"length of 2^63",
       "\x30\x88\x80\0\0\0\0\0\0\0x"s,
       {"!An element is longer than what holds it."}},
  };
}

// DER bytes say nothing to those who read the output of a test.
Items readable(Items items) {
  const std::pair<const std::string&, const char*> names[] = {{kA, "A"}, {kB, "B"}, {kC, "C"}};
  for (std::string& item : items) {
    for (const auto& [bytes, name] : names) {
      if (item == bytes) item = std::string(name);
    }
  }
  return items;
}

TEST(CertificateReader, ReadsEveryFormInPiecesOfAnySize) {
  for (const ReadCase& each : readCases()) {
    for (const size_t pieceSize : {size_t{1}, size_t{7}, size_t{100}, size_t{1} << 20}) {
      SCOPED_TRACE(std::string(each.name) + ", pieces of " + std::to_string(pieceSize));
      EXPECT_EQ(readable(readIn(each.input, pieceSize).items), readable(each.items));
    }
  }
}

TEST(CertificateReader, TellsWhereAFailureIs) {
  const Found inPem = readIn("words\r\n\r\n" + pem(kKey, "SOME KEY") + pem(kA + "!"), 3);
  EXPECT_EQ(inPem.lines, (std::vector<size_t>{3, 6, 6}));
  EXPECT_EQ(inPem.labels, (Items{"SOME KEY", "CERTIFICATE", "CERTIFICATE"}));
  EXPECT_EQ(inPem.offsets, (std::vector<size_t>{kA.size()}));  // and none for the key

  const std::string begin = "-----BEGIN X-----\r\n";
  const Found inLine = readIn(begin + "MAAA\r\nMA*A\r\n" + begin + "MAAA\n", 3);
  EXPECT_EQ(inLine.lines, (std::vector<size_t>{1, 4}));
  EXPECT_EQ(inLine.faultLines, (std::vector<size_t>{3, 0}));

  const Found inXml =
      readIn(std::string(1, '\n') + xml(kA) + "\n\n<sequence>\n</set>" + xml(kB), 3);
  EXPECT_EQ(inXml.lines.at(0), 2U);
  EXPECT_EQ(inXml.lines.at(1), 4U);
  EXPECT_EQ(inXml.items.at(1).front(), '!');

  const std::string damaged = der::sequence(der::sequence("\x02\x05\x01"s));
  EXPECT_EQ(readIn(kA + damaged, 9).offsets, (std::vector<size_t>{kA.size() + 5}));
}

TEST(CertificateReader, ReadsBundlesOfOtherPrograms) {
  const Items three = {readFile("three_0.der"), readFile("three_1.der"), readFile("three_2.der")};
  for (const char* name : {"three.pem", "three_der.p7b", "three_pem.p7b", "three_ber.p7b"}) {
    EXPECT_EQ(readIn(readFile(name), 1000).items, three) << name;
  }
  EXPECT_EQ(readIn(readFile("trusted.pem"), 1000).items, Items{three[0]});
}

TEST(CertificateReader, GivesOfABundleWhatLoadingItGives) {
  for (const char* name : {"three_der.p7b", "three_ber.p7b"}) {
    const std::string bundle = readFile(name);
    LogNull log;
    SystemCerts store;
    const RefOwner<VelmoraX509> loaded(VelmoraX509::createNewX509());
    loaded->incRefCount();
    ASSERT_TRUE(loaded->loadX509DerAlt(reinterpret_cast<const unsigned char*>(bundle.data()),
                                       static_cast<unsigned int>(bundle.size()), &store, log));
    const Items items = readIn(bundle, bundle.size()).items;
    ASSERT_EQ(store.getCount(), items.size());
    for (size_t i = 0; i < items.size(); ++i) {
      DataBuffer der;
      ASSERT_TRUE(store.getNthCertDer(i, der));
      EXPECT_EQ(items[i], der.view());
    }
  }
}

// Elements of exactly the limit, and of one octet more.
TEST(CertificateReader, RefusesWhatIsTooLargeAndGoesOn) {
  constexpr size_t kHeader = 6;
  constexpr size_t kPiece = size_t{1} << 20;
  for (const size_t size : {CertificateReader::kMaxDerSize, CertificateReader::kMaxDerSize + 1}) {
    const bool fits = size <= CertificateReader::kMaxDerSize;
    const std::string item =
        fits ? "!ASN.1, but not a certificate." : "!The DER is larger than 64 MiB.";
    std::string large = der::join("\x30", der::lengthOctets(size - kHeader), "\x04",
                                  der::lengthOctets(size - 2 * kHeader));
    large.resize(size);
    EXPECT_EQ(readIn(large, kPiece).items, Items{item});
    EXPECT_EQ(readIn(pem(large) + pem(kA), kPiece).items, (Items{item, kA}));
  }
}

TEST(CertificateReader, StopsAtOnceOnWhatCannotBeAnInput) {
  Found found;
  CertificateReader reader(found);
  EXPECT_FALSE(reader.feed(std::string_view("\0", 1)));
  EXPECT_FALSE(reader.feed(pem(kA)));
  reader.finish();
  EXPECT_EQ(found.items, Items{kNothing});
}

// Every prefix and every change of one byte: no crash, always an answer, and what is given as a
// certificate loads.
TEST(CertificateReader, SurvivesEveryPrefixAndEveryChangedByte) {
  const std::string small = readFile("three_2.der");
  LogNull log;
  for (const std::string& input :
       {small, der::bundle(kA, kB), readFile("three_ber.p7b"), pem(small), xml(kA), base64(kA)}) {
    for (size_t at = 0; at < input.size(); ++at) {
      EXPECT_FALSE(readIn(input.substr(0, at), 4096).items.empty());
      for (const int change : {0x01, 0x80, 0xFF}) {
        std::string changed = input;
        changed[at] = static_cast<char>(changed[at] ^ change);
        for (const std::string& item : readIn(changed, 4096).items) {
          if (item[0] == '!') continue;
          VelmoraX509Holder* holder =
              VelmoraX509Holder::createFromDer(reinterpret_cast<const unsigned char*>(item.data()),
                                               static_cast<unsigned int>(item.size()), log);
          EXPECT_NE(holder, nullptr) << at << " ^ " << change;
          VelmoraObject::deleteObject(holder);
        }
      }
    }
  }
}

TEST(ReadCertificates, AppendsHoldersAndReportsTheRest) {
  ExtPtrArray out;
  LogText log;
  EXPECT_TRUE(readCertificates(pem(kA), out, log));
  EXPECT_FALSE(readCertificates(pem(kB) + pem(kKey, "KEY") + pem(kC), out, log));
  ASSERT_EQ(out.getSize(), 3);
  const char* expected[] = {"CN=A", "CN=B", "CN=C"};
  for (int i = 0; i < 3; ++i) {
    XString name;
    LogNull null;
    VelmoraX509Holder::getNthX509(out, i)->getDN(true, true, name, null, 0);
    EXPECT_EQ(name.view(), expected[i]);
  }
  const std::string text(log.text().view());
  EXPECT_NE(
      text.find("ERROR: A private key (PKCS #8), not a certificate.\n  index: 1\n  label: KEY"),
      std::string::npos)
      << text;
  EXPECT_EQ(text.find("secret"), std::string::npos);
}

}  // namespace
}  // namespace velmora
