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
      const std::string curve = record.has("Curve") ? "curveOid: " + record.get("Curve") : "";
      EXPECT_NE(log.text().view().find(curve + "\n"), std::string_view::npos);
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

// A key that memory did not suffice for is none, and what was loaded before is gone.
TEST(PublicKeyMemory, IsLoadedWholeOrNotAtAll) {
  forEachRecord(keyDataFile("keys.txt"), [&](const KeyValueRecord& record) {
    SCOPED_TRACE(record.get("Case"));
    for (const char* const unused : {"Refused", "Type", "Bits", "Curve", "KeyId"}) {
      if (record.has(unused)) record.get(unused);
    }
    const DataBuffer der = fromHex(record.get("Der"));
    LogNull log;
    expectRightOrNone([&] {
      _vmPublicKey key;
      StringBuffer id;
      DataBuffer copy;
      if (!copy.append(der) || !key.loadAnyDer(copy, log)) {
        EXPECT_TRUE(key.isEmpty());
        return std::string(kNoMemory);
      }
      const bool hasId = key.getVelmoraKeyId64(id, log) && !id.failed();
      return hasId ? std::string(id.view()) + std::to_string(key.bitLength()) : kNoMemory;
    });
  });
}

}  // namespace
}  // namespace velmora::test
