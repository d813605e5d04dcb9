#include <map>

#include "tests/support/key/key_test.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/key/dsa.h"
#include "velmora/support/key/ed25519.h"
#include "velmora/support/key/rsa.h"

namespace velmora::test {
namespace {

// One signature and who made it.
struct Signed {
  Signed(_vmPublicKey& by, const KeyValueRecord& record)
      : key(by),
        message(fromHex(record.get("Message"))),
        signature(fromHex(record.get("Signature"))),
        hashId(_vmHash::hashId(record.get("Hash"))) {
    _vmHash::doHash(message.data(), static_cast<unsigned>(message.size()), hashId, hash);
  }

  _vmPublicKey& key;
  DataBuffer message;
  DataBuffer signature;
  DataBuffer hash;
  int hashId;

  unsigned signatureSize() const { return static_cast<unsigned>(signature.size()); }
  unsigned hashSize() const { return static_cast<unsigned>(hash.size()); }
};

// What became of it: "valid", "not valid", "refused", and for an RSA block "content".
using Outcome = std::string;

Outcome verifyPair(bool checked, bool valid) {
  EXPECT_FALSE(!checked && valid);
  return !checked ? "refused" : valid ? "valid" : "not valid";
}

Outcome unsignRsa(const Signed& it, int padding, DataBuffer& content, LogBase& log) {
  content.append("old", 3);
  const bool done = RsaPrimitive::unsignSslSig(it.signature.data(), it.signatureSize(),
                                               it.hash.data(), it.hashSize(), *it.key.getRsaKey(),
                                               padding, it.hashId, content, log);
  if (!done) return "refused";
  return padding == RsaPrimitive::kPaddingPkcs1 ? "content" : "valid";
}

Outcome verifyEd25519(const Signed& it, LogBase& log) {
  DataBuffer scratch;
  const unsigned char* key = it.key.getEd25519Key()->publicKey();
  const auto messageSize = static_cast<unsigned>(it.message.size());
  const bool valid = Ed25519Primitive::verifyDetached(it.signature.data(), it.message.data(),
                                                      messageSize, key, scratch, false, log);
  LogNull quiet;
  EXPECT_EQ(Ed25519Primitive::verifyDetached(it.signature.data(), it.message.data(), messageSize,
                                             *it.key.getEd25519Key(), quiet),
            valid);
  return valid ? "valid" : "refused";
}

Outcome verify(const std::string& scheme, const Signed& it, DataBuffer& content, LogBase& log) {
  bool valid = true;
  if (scheme == "rsa-pkcs1") return unsignRsa(it, RsaPrimitive::kPaddingPkcs1, content, log);
  if (scheme == "rsa-pss") return unsignRsa(it, RsaPrimitive::kPaddingPss, content, log);
  if (scheme == "ed25519") return verifyEd25519(it, log);
  if (scheme == "dsa") {
    const bool checked =
        DsaPrimitive::verify_hash(it.signature.data(), it.signatureSize(), it.hash.data(),
                                  it.hashSize(), *it.key.getDsaKey(), valid, log);
    return verifyPair(checked, valid);
  }
  const bool checked = it.key.getEccKey()->eccVerifyHash(
      it.signature.data(), it.signatureSize(), false, it.hash.data(), it.hashSize(), valid, log, 0);
  return verifyPair(checked, valid);
}

class Signatures : public EachPath {};
VELMORA_ON_EACH_PATH(Signatures);

TEST_P(Signatures, AreJudgedAsTheyAre) {
  std::map<std::string, _vmPublicKey> signers;
  forEachRecord(keyDataFile("signatures.txt"), [&](const KeyValueRecord& record) {
    LogText log;
    if (record.has("Signer")) {
      _vmPublicKey& key = signers.try_emplace(record.get("Signer"), path()).first->second;
      EXPECT_TRUE(key.loadAnyDer(fromHex(record.get("Der")), log)) << log.text().view();
      return;
    }
    SCOPED_TRACE(record.get("Case"));
    const Signed it(signers.at(record.get("By")), record);
    DataBuffer content;
    EXPECT_EQ(verify(record.get("Scheme"), it, content, log), record.get("Result"))
        << log.text().view();
    EXPECT_EQ(toHex(content), record.has("Content") ? record.get("Content") : "");
    if (record.has("Reason")) {
      EXPECT_TRUE(logged(log, record.get("Reason"))) << log.text().view();
    } else {
      EXPECT_TRUE(log.text().view().find("ERROR") == std::string_view::npos) << log.text().view();
    }
  });
}

TEST_P(Signatures, OfTheStandardsAreJudgedAsThere) {
  forEachRecord(keyDataFile("standards.txt"), [&](const KeyValueRecord& record) {
    SCOPED_TRACE(record.get("Case"));
    LogText log;
    _vmPublicKey key(path());
    ASSERT_TRUE(key.loadAnyDer(fromHex(record.get("Key")), log)) << log.text().view();
    DataBuffer content;
    const Outcome outcome = verify(record.get("Scheme"), Signed(key, record), content, log);
    const bool valid =
        record.has("Content") ? toHex(content) == record.get("Content") : outcome == "valid";
    EXPECT_EQ(valid ? "valid" : "not valid", record.get("Result")) << log.text().view();
  });
}

}  // namespace
}  // namespace velmora::test
