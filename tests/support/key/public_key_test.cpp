#include "tests/common/allocation_fault.h"
#include "tests/support/key/key_test.h"

namespace velmora::test {
namespace {

class PublicKey : public EachPath {};
VELMORA_ON_EACH_PATH(PublicKey);

void expectEmpty(_vmPublicKey& key) {
  LogNull log;
  StringBuffer id;
  EXPECT_TRUE(key.isEmpty());
  EXPECT_EQ(key.getRsaKey(), nullptr);
  EXPECT_EQ(key.getDsaKey(), nullptr);
  EXPECT_EQ(key.getEccKey(), nullptr);
  EXPECT_EQ(key.getEd25519Key(), nullptr);
  EXPECT_EQ(key.typeName(), "");
  EXPECT_EQ(key.bitLength(), 0U);
  EXPECT_FALSE(key.getVelmoraKeyId64(id, log));
  EXPECT_TRUE(id.isEmpty());
}

TEST_P(PublicKey, LoadsOrRefuses) {
  _vmPublicKey key(path());
  forEachRecord(keyDataFile("keys.txt"), [&](const KeyValueRecord& record) {
    SCOPED_TRACE(record.get("Case"));
    LogText log;
    const bool loaded = key.loadAnyDer(fromHex(record.get("Der")), log);
    if (record.has("Refused")) {
      EXPECT_FALSE(loaded);
      EXPECT_TRUE(logged(log, record.get("Refused"))) << log.text().view();
      expectEmpty(key);
      return;
    }
    ASSERT_TRUE(loaded) << log.text().view();
    EXPECT_EQ(key.typeName(), record.get("Type"));
    EXPECT_EQ(std::to_string(key.bitLength()), record.get("Bits"));
    EXPECT_EQ(key.curveName(), record.get("Curve"));
    StringBuffer id("x");
    EXPECT_TRUE(key.getVelmoraKeyId64(id, log));
    EXPECT_EQ(id.view(), std::string("x").append(record.get("KeyId")));
    EXPECT_EQ(key.isRsa() + key.isDsa() + key.isEcc() + key.isEd25519(), 1);
    EXPECT_EQ(key.isRsa(), key.getRsaKey() != nullptr);
    EXPECT_EQ(key.isDsa(), key.getDsaKey() != nullptr);
    EXPECT_EQ(key.isEcc(), key.getEccKey() != nullptr);
    EXPECT_EQ(key.isEd25519(), key.getEd25519Key() != nullptr);
  });
}

// A key that is cut or changed anywhere is read within its bounds; a cut one is refused, unless
// it happens to be 32 octets that are a point.
TEST(PublicKeyBytes, CutAndFlipped) {
  forEachRecord(keyDataFile("signatures.txt"), [](const KeyValueRecord& record) {
    for (const char* unused : {"Case", "By", "Scheme", "Hash", "Message", "Signature", "Result",
                               "Content", "Reason", "Signer", "Der"}) {
      if (record.has(unused)) record.get(unused);
    }
    if (!record.has("Signer")) return;
    SCOPED_TRACE(record.get("Signer"));
    LogNull log;
    _vmPublicKey key;
    const DataBuffer whole = fromHex(record.get("Der"));
    for (size_t size = 0; size < whole.size(); ++size) {
      // A block of its own for each, so that a read beyond it is seen.
      DataBuffer cut;
      cut.append(whole.data(), size);
      const bool loaded = key.loadAnyDer(cut, log);
      EXPECT_TRUE(!loaded || (size == Ed25519KeyData::kKeySize && key.isEd25519())) << size;
      DataBuffer flipped;
      flipped.append(whole);
      flipped.data()[size] ^= static_cast<unsigned char>(1 + size % 255);
      key.loadAnyDer(flipped, log);
    }
  });
}

TEST(PublicKeyMemory, NothingIsLoadedWithoutIt) {
  DataBuffer der;
  forEachRecord(keyDataFile("keys.txt"), [&](const KeyValueRecord& record) {
    for (const char* unused : {"Type", "Bits", "Curve", "KeyId", "Refused"}) {
      if (record.has(unused)) record.get(unused);
    }
    const DataBuffer bytes = fromHex(record.get("Der"));
    if (record.get("Case") == "RSA") der.append(bytes);
  });
  LogNull log;
  _vmPublicKey key;
  bool loaded = false;
  const size_t faults = forEachAllocationFault([&] { loaded = key.loadAnyDer(der, log); },
                                               [&](bool faulted) {
                                                 EXPECT_EQ(loaded, !faulted);
                                                 EXPECT_EQ(key.isEmpty(), faulted);
                                               });
  EXPECT_GT(faults, 0U);
}

}  // namespace
}  // namespace velmora::test
