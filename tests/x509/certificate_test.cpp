#include <memory>
#include <stdexcept>

#include "tests/x509/x509_test.h"

namespace velmora::test {
namespace {

struct DeleteHolder {
  void operator()(VelmoraX509Holder* holder) const { VelmoraObject::deleteObject(holder); }
};
using Holder = std::unique_ptr<VelmoraX509Holder, DeleteHolder>;

Holder holderOf(std::string_view der, LogBase& log) {
  return Holder(VelmoraX509Holder::createFromDer(reinterpret_cast<const unsigned char*>(der.data()),
                                                 static_cast<unsigned int>(der.size()), log));
}

TEST(X509Holder, KeepsOneCountedReference) {
  LogNull log;
  RefOwner<VelmoraX509> x(VelmoraX509::createNewX509());
  ASSERT_TRUE(x);
  EXPECT_EQ(x->refCount(), 0);
  x->incRefCount();
  {
    const Holder holder(VelmoraX509Holder::createFromX509(x.get(), log));
    EXPECT_EQ(holder->getX509Ptr(), x.get());
    EXPECT_EQ(x->refCount(), 2);
    holder->setX509(x.get());
    holder->setX509(nullptr);
    EXPECT_EQ(holder->getX509Ptr(), x.get());
    EXPECT_EQ(x->refCount(), 2);

    VelmoraX509Holder other;
    other.setX509(other.getX509Ptr());
    EXPECT_EQ(other.getX509Ptr()->refCount(), 1);
    other.setX509(x.get());
    EXPECT_EQ(x->refCount(), 3);
  }
  EXPECT_EQ(x->refCount(), 1);
  EXPECT_EQ(VelmoraX509Holder::createFromX509(nullptr, log), nullptr);
}

TEST(X509Holder, ServesArrays) {
  LogNull log;
  RefOwner<VelmoraX509> x(VelmoraX509::createNewX509());
  x->incRefCount();
  {
    ExtPtrArray certs;
    EXPECT_FALSE(VelmoraX509Holder::appendNewX509Holder(nullptr, certs, log));
    EXPECT_TRUE(VelmoraX509Holder::appendNewX509Holder(x.get(), certs, log));
    EXPECT_EQ(VelmoraX509Holder::getNthX509(certs, 0), x.get());
    EXPECT_EQ(VelmoraX509Holder::getX509FromArray(certs, 0), x.get());
    EXPECT_EQ(VelmoraX509Holder::getNthX509(certs, 1), nullptr);
    EXPECT_EQ(VelmoraX509Holder::getNthX509(certs, -1), nullptr);
    EXPECT_EQ(VelmoraX509Holder::getX509FromArray(certs, 0xFFFFFFFF), nullptr);
    EXPECT_EQ(x->refCount(), 2);
  }
  EXPECT_EQ(x->refCount(), 1);
}

TEST(X509Holder, IsCreatedFromDerOrNotAtAll) {
  LogNull log;
  const Holder holder = holderOf(der::Certificate().der(), log);
  ASSERT_TRUE(holder);
  EXPECT_EQ(holder->getX509Ptr()->refCount(), 1);
  EXPECT_EQ(subjectOf(*holder->getX509Ptr()), "C=US, O=Acme, CN=host");
  EXPECT_FALSE(holderOf("no certificate", log));
}

class ThrowingLog final : public LogBase {
 public:
  void LogError(const char* message) override { throw std::runtime_error(message); }
  void LogInfo(const char*) override {}
  void LogData(const char*, std::string_view) override {}
  void enterContext(const char*) override {}
  void leaveContext() override {}
};

TEST(X509Holder, IsHandedOutAsItStandsWhenTheLogThrows) {
  ThrowingLog log;
  const Holder holder = holderOf(der::sequence(), log);
  ASSERT_TRUE(holder);
  EXPECT_NE(holder->getX509Ptr(), nullptr);
}

}  // namespace
}  // namespace velmora::test
