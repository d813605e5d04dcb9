#include "tests/common/allocation_fault.h"

#include "support/trust/trusted_roots.h"
#include "tests/support/trust/trust_test.h"

// The stores with each of their allocations failing in turn.

namespace velmora::test {
namespace {

TEST(SystemCertsOutOfMemory, NothingIsHalfAddedWhenMemoryRunsOut) {
  const DataBuffer first = bytes("first");
  const DataBuffer second = bytes("second");
  LogNull log;
  bool added = false;
  SystemCerts store;
  const size_t faults = forEachAllocationFault(
      [&] {
        store.clear();
        added = store.addCertDer(first, log) && store.addCertDer(second, log);
      },
      [&](bool faulted) {
        ASSERT_EQ(added, !faulted);
        ASSERT_TRUE(store.addCertDer(first, log) && store.addCertDer(second, log));
        ASSERT_EQ(contents(store), (std::vector<std::string>{"first", "second"}));
      });
  EXPECT_GE(faults, 6U);

  DataBuffer out;
  bool read = true;
  {
    const AllocationFault fault(1);
    read = store.getNthCertDer(0, out);
  }
  EXPECT_FALSE(read);
  EXPECT_TRUE(out.empty());
  EXPECT_TRUE(out.failed());
}

// What the default set answers for both texts of one root.
std::string answers(std::string_view serial) {
  LogNull log;
  std::string all;
  for (const char* subject : {"a long subject name, b", "a long subject name,b"}) {
    DataBuffer der;
    bool implicitly = false;
    all += TrustedRoots::isTrustedRoot(nullptr, serial, subject, der, implicitly, log)
               ? (implicitly ? "implicit " : "explicit ") + std::string(der.view()) + "; "
               : "no; ";
  }
  return all;
}

TEST(TrustedRootsOutOfMemory, NothingIsHalfChangedWhenMemoryRunsOut) {
  const std::string serial(40, '7');  // too long for a string without an allocation
  const TrustedRoots::Name name{serial, "a long subject name, b", "a long subject name,b"};
  const DataBuffer der = bytes("der");
  const DataBuffer key = bytes("key");
  LogNull log;
  bool added = false;
  bool marked = false;
  size_t faults = forEachAllocationFault(
      [&] {
        TrustedRoots::clear(nullptr);
        added = TrustedRoots::addRoot(nullptr, name, der, key, log);
      },
      [&](bool faulted) {
        ASSERT_EQ(added, !faulted);
        ASSERT_EQ(answers(serial), added ? "explicit der; explicit der; " : "no; no; ");
        ASSERT_EQ(TrustedRoots::getCount(nullptr), added ? 1U : 0U);
      });
  EXPECT_GE(faults, 5U);
  faults = forEachAllocationFault(
      [&] {
        TrustedRoots::clear(nullptr);
        marked = TrustedRoots::trustImplicitly(nullptr, name, log);
      },
      [&](bool faulted) {
        ASSERT_EQ(marked, !faulted);
        ASSERT_EQ(answers(serial), marked ? "implicit ; implicit ; " : "no; no; ");
      });
  EXPECT_GE(faults, 4U);
  // A root whose DER cannot be handed out is not trusted, whatever it is marked as.
  ASSERT_TRUE(TrustedRoots::addRoot(nullptr, name, der, key, log));
  bool trusted = true;
  DataBuffer out;
  forEachAllocationFault(
      [&] {
        out = DataBuffer();
        bool implicitly = false;
        trusted =
            TrustedRoots::isTrustedRoot(nullptr, serial, name.subjectDn, out, implicitly, log);
      },
      [&](bool faulted) {
        EXPECT_EQ(trusted, !faulted);
        EXPECT_EQ(out.empty(), faulted);
      });
  TrustedRoots::clear(nullptr);
}

}  // namespace
}  // namespace velmora::test
