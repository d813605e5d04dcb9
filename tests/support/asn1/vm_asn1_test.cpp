#include "velmora/support/asn1/vm_asn1.h"

#include "tests/common/der_builder.h"
#include "tests/support/asn1/codec_texts.h"
#include "velmora/support/asn1/der_xml_codec.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/log/log_sinks.h"

namespace velmora::test {
namespace {

using Node = RefOwner<_vmAsn1>;

_vmAsn1* firstStep(const std::string& bytes) {
  LogNull log;
  return _vmAsn1::DecodeToAsn_1Step(spanOf(bytes).data(), static_cast<unsigned>(bytes.size()), log);
}

_vmAsn1* wholeTree(const std::string& bytes, unsigned& consumed) {
  LogNull log;
  return _vmAsn1::DecodeToAsn(spanOf(bytes).data(), static_cast<unsigned>(bytes.size()), consumed,
                              log);
}

_vmAsn1* wholeTree(const std::string& bytes) {
  unsigned consumed = 0;
  return wholeTree(bytes, consumed);
}

std::string encoded(_vmAsn1& node) {
  LogNull log;
  DataBuffer out;
  return node.EncodeToDer(out, false, log) ? std::string(out.view()) : "failed";
}

std::string content(const _vmAsn1& node) {
  DataBuffer out;
  node.getAsnContent(out);
  return std::string(out.view());
}

std::string nested(size_t depth) {
  std::string der;
  for (size_t i = 0; i < depth; ++i) der = sequence(der);
  return der;
}

TEST(VmAsn1, EncodesWhatItReadAsDer) {
  const std::pair<const char*, const char*> spellings[] = {
      {"3004 02810105", "3003 020105"},
      {"3080 020105 0000", "3003 020105"},
      {"2406 040161 040162", "0402 6162"},
      {"010101", "010101"},                          // another true
      {"3106 020102 020101", "3106 020102 020101"},  // a set out of order
  };
  for (const auto& [ber, der] : spellings) {
    SCOPED_TRACE(ber);
    const Node tree(wholeTree(octetsOf(ber))), undecoded(firstStep(octetsOf(ber)));
    ASSERT_TRUE(tree && undecoded);
    EXPECT_EQ(encoded(*tree), octetsOf(der));
    EXPECT_EQ(encoded(*undecoded), octetsOf(der));
    EXPECT_EQ(undecoded->numAsnParts(), tree->numAsnParts());
    EXPECT_EQ(content(*undecoded), content(*tree));
  }
}

TEST(VmAsn1, AppendsWhatItGives) {
  LogNull log;
  DataBuffer out;
  out.appendChar('x');
  const Node bits(wholeTree(der::bits("ab")));
  EXPECT_TRUE(bits->getBitString(out));
  EXPECT_TRUE(bits->getAsnContent(out));
  EXPECT_TRUE(bits->EncodeToDer(out, false, log));
  EXPECT_EQ(out.view(), std::string("xab\0ab", 6) + der::bits("ab"));
}

TEST(VmAsn1, DecodesACertificateStepByStep) {
  const der::Certificate certificate;
  const Node node(firstStep(certificate.der()));
  ASSERT_TRUE(node);
  EXPECT_EQ(node->refCount(), 1);
  EXPECT_EQ(node->numAsnParts(), 0);
  EXPECT_EQ(node->getAsnPart(0), nullptr);

  LogNull log;
  for (int again = 0; again < 2; ++again) {
    ASSERT_TRUE(node->DecodeInner(false, log));
    ASSERT_EQ(node->numAsnParts(), 3);
  }
  EXPECT_EQ(node->getAsnPart(3), nullptr);
  EXPECT_EQ(node->getAsnPart(-1), nullptr);
  _vmAsn1* algorithm = node->getAsnPart(1);
  ASSERT_TRUE(algorithm->DecodeInner(true, log));
  StringBuffer oid;
  ASSERT_TRUE(algorithm->getAsnPart(0)->GetOid(oid));
  EXPECT_EQ(oid.view(), "1.2.840.113549.1.1.12");
  EXPECT_EQ(encoded(*algorithm), certificate.outerAlgorithm);
  DataBuffer signature;
  EXPECT_TRUE(node->getAsnPart(2)->getBitString(signature));
  EXPECT_EQ(signature.view(), "signed");
  EXPECT_EQ(encoded(*node->getAsnPart(0)->getAsnPart(3)), certificate.issuer);
}

TEST(VmAsn1, RefusesContentsOnlyWhenTheyAreDecoded) {
  const Node node(firstStep(sequence(std::string("\x02\x05\x01"))));
  ASSERT_TRUE(node);
  LogText log;
  EXPECT_FALSE(node->DecodeInner(false, log));
  EXPECT_EQ(log.text().view(),
            "decodeAsn1:\n  ERROR: An element is longer than what holds it.\n  offset: 3\n");
  EXPECT_EQ(node->numAsnParts(), 0);
  EXPECT_EQ(encoded(*node), "failed");
}

TEST(VmAsn1, RefusesWhatIsNotOneElement) {
  const std::string whole = sequence(integer("\x05"), utf8("text"));
  const std::string cut = whole.substr(0, whole.size() - 1);
  unsigned consumed = 1;
  EXPECT_FALSE(Node(firstStep(cut)) || Node(firstStep(whole + "x")));
  EXPECT_FALSE(Node(wholeTree(cut, consumed)));
  EXPECT_EQ(consumed, 0U);
  const Node first(wholeTree(whole + "x", consumed));
  ASSERT_TRUE(first);
  EXPECT_EQ(consumed, whole.size());
  EXPECT_EQ(encoded(*first), whole);

  const Node indefinite(firstStep(std::string("\x30\x80\x00\x00x", 5)));
  LogText log;
  EXPECT_FALSE(indefinite->DecodeInner(false, log));
  EXPECT_EQ(log.text().view(),
            "derToXml:\n  ERROR: Octets follow the outermost element.\n  offset: 4\n");
}

TEST(VmAsn1, LimitsDepthAndIsTakenDownWithoutRecursion) {
  EXPECT_FALSE(Node(wholeTree(nested(kMaxAsn1Depth + 1))));
  Node kept;
  {
    const Node tree(wholeTree(nested(kMaxAsn1Depth)));
    ASSERT_TRUE(tree);
    _vmAsn1* at = tree.get();
    for (int depth = 1; depth < kMaxAsn1Depth; ++depth) {
      ASSERT_EQ(at->numAsnParts(), 1);
      at = at->getAsnPart(0);
      if (depth != kMaxAsn1Depth / 2) continue;
      at->incRefCount();
      kept.reset(at);
    }
    EXPECT_EQ(at->numAsnParts(), 0);
  }
  EXPECT_EQ(kept->refCount(), 1);
  EXPECT_EQ(encoded(*kept), nested(kMaxAsn1Depth / 2));
  EXPECT_EQ(kept->numAsnParts(), 1);
}

TEST(VmAsn1, GivesNothingForAnotherType) {
  StringBuffer oid;
  DataBuffer bits;
  for (const std::string& der :
       {der::bits("ab", 1), element(0x03, ""), octets("ab"), sequence(der::bits("ab")),
        std::string("\x06\x02\x2A\x80"), std::string("\x06\x00", 2), element(0x26, integer("\x05")),
        std::string("\x83\x02\x00\x01", 4)}) {
    const Node node(wholeTree(der));
    ASSERT_TRUE(node);
    EXPECT_FALSE(node->getBitString(bits));
    EXPECT_FALSE(node->GetOid(oid));
  }
  EXPECT_TRUE(bits.empty());
  EXPECT_TRUE(oid.isEmpty());
}

TEST(VmAsn1, ReadsRsassaPssParameters) {
  const der::Bytes sha256Oid = der::oid("2.16.840.1.101.3.4.2.1"),
                   mgf1 = der::oid("1.2.840.113549.1.1.8");
  const der::Bytes sha256 = algorithm("2.16.840.1.101.3.4.2.1");
  const der::Bytes sha512 = algorithm("2.16.840.1.101.3.4.2.3");
  const der::Bytes salt = context(2, integer("\x20"));
  const struct {
    const char* what;
    std::string parameters;
    int hashId = 0, maskHashId = -1, saltLength = -1;  // 0: refused
  } cases[] = {
      {"defaults", sequence(), _vmHash::kSha1, _vmHash::kSha1, 20},
      {"all stated",
       sequence(context(0, sha256), context(1, sequence(mgf1, sha512)), salt,
                context(3, integer("\x01"))),
       _vmHash::kSha256, _vmHash::kSha512, 32},
      {"no salt", sequence(context(2, integer(std::string(1, '\0')))), _vmHash::kSha1,
       _vmHash::kSha1, 0},
      {"unknown mask", sequence(context(1, sequence(der::oid("1.2.3"), sha256)))},
      {"mask without hash", sequence(context(1, sequence(mgf1)))},
      {"negative salt", sequence(context(2, integer("\xFF")))},
      {"padded salt", sequence(context(2, integer(std::string("\0\x20", 2))))},
      {"huge salt", sequence(context(2, integer("\x7F\xFF\xFF\xFF")))},
      {"out of order", sequence(salt, context(0, sha256))},
      {"two salts", sequence(context(2, integer("\x20"), integer("\x20")))},
      {"unknown member", sequence(context(4, integer("\x01")))},
      {"something after", sequence() + null()},
      {"hash with other parameters", sequence(context(0, sequence(sha256Oid, integer("\x01"))))},
  };
  LogNull log;
  for (const auto& pss : cases) {
    SCOPED_TRACE(pss.what);
    const Node node(firstStep(sequence(der::oid("1.2.840.113549.1.1.10"), pss.parameters)));
    ASSERT_TRUE(node);
    int hashId = -1, maskHashId = -1, saltLength = -1;  // kept when refused
    const bool read = _vmAsn1::parseRsaSsaPssParams(*node, hashId, maskHashId, saltLength, log);
    EXPECT_EQ(read, pss.hashId != 0);
    EXPECT_EQ(hashId, read ? pss.hashId : -1);
    EXPECT_EQ(maskHashId, pss.maskHashId);
    EXPECT_EQ(saltLength, pss.saltLength);
  }
  const Node other(firstStep(sequence(der::oid("1.2.840.113549.1.1.11"), sequence())));
  int a = 0, b = 0, c = 0;
  EXPECT_FALSE(_vmAsn1::parseRsaSsaPssParams(*other, a, b, c, log));
}

}  // namespace
}  // namespace velmora::test
