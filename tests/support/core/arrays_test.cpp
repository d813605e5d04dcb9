#include "support/core/arrays.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <thread>
#include <utility>

#include "tests/common/allocation_fault.h"

namespace velmora {
namespace {

using test::forEachAllocationFault;

// An object that counts how many of its kind live.
template <class Base>
struct Tracked final : Base {
  explicit Tracked(int& living) : m_living(living) { ++m_living; }
  ~Tracked() override { --m_living; }
  int& m_living;
};
using Owned = Tracked<VelmoraObject>;
using Counted = Tracked<RefCountedObject>;

TEST(PodArray, KeepsItsElementsWhileItGrows) {
  PodArray<int> array;
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(array.push_back(i));
  // An element of the array itself survives the move to larger memory.
  array.shrinkToFit();
  ASSERT_EQ(array.capacity(), array.size());
  ASSERT_TRUE(array.push_back(array[7]));
  EXPECT_EQ(array.back(), 7);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(array[static_cast<size_t>(i)], i);

  PodArray<int> taken(std::move(array));
  EXPECT_TRUE(array.empty());
  EXPECT_EQ(taken.size(), 1001U);
  taken.truncate(2000);
  EXPECT_EQ(taken.size(), 1001U);
  taken.truncate(2);
  array = std::move(taken);
  EXPECT_EQ(array.size(), 2U);
}

TEST(PodArray, RefusesSizesThatNoMemoryHolds) {
  PodArray<uint64_t> array;
  ASSERT_TRUE(array.push_back(1));
  EXPECT_EQ(array.extend(SIZE_MAX), nullptr);
  EXPECT_EQ(array.extend(SIZE_MAX / 8), nullptr);
  EXPECT_FALSE(array.reserve(SIZE_MAX / 8 + 2));
  EXPECT_EQ(array.size(), 1U);
  EXPECT_EQ(array[0], 1U);
}

TEST(PodArray, IsUnchangedWhenMemoryRunsOut) {
  PodArray<int> array;
  ASSERT_TRUE(array.push_back(5));
  array.shrinkToFit();
  bool pushed = false;
  forEachAllocationFault([&] { pushed = array.push_back(6); },
                         [&](bool faulted) {
                           EXPECT_EQ(pushed, !faulted);
                           ASSERT_EQ(array.size(), faulted ? 1U : 2U);
                           EXPECT_EQ(array[0], 5);
                         });
}

TEST(RefCountedObject, LivesUntilItsLastReferenceGoes) {
  int living = 0;
  auto* object = new Counted(living);
  object->incRefCount();
  {
    RefOwner<Counted> owner(object);
    object->incRefCount();
    EXPECT_EQ(object->refCount(), 2);
    EXPECT_EQ(owner.release(), object);
  }
  EXPECT_EQ(object->refCount(), 2);
  object->decRefCount();
  EXPECT_EQ(living, 1);
  object->decRefCount();
  EXPECT_EQ(living, 0);

  (new Counted(living))->decRefCount();  // never kept by anyone
  EXPECT_EQ(living, 0);
}

TEST(CritSecAndCounts, HoldBetweenThreads) {
  int living = 0;
  auto* object = new Counted(living);
  object->incRefCount();
  long total = 0;
  const auto work = [&] {
    for (int i = 0; i < 10000; ++i) {
      object->incRefCount();
      {
        const CritSecExitor outer(object);
        const CritSecExitor inner(object);  // the lock is re-entrant
        ++total;
      }
      object->decRefCount();
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(total, 20000);
  EXPECT_EQ(object->refCount(), 1);
  object->decRefCount();
  EXPECT_EQ(living, 0);
  const CritSecExitor none(nullptr);
}

TEST(ExtPtrArray, HoldsObjectsOrReferences) {
  int living = 0;
  auto* shared = new Counted(living);
  shared->incRefCount();
  {
    ExtPtrArray owning;
    auto* owned = new Owned(living);
    EXPECT_TRUE(owning.appendObject(owned));
    EXPECT_FALSE(owning.appendObject(nullptr));
    EXPECT_EQ(owning.getSize(), 1);
    EXPECT_EQ(owning.elementAt(0), owned);
    EXPECT_EQ(owning.elementAt(1), nullptr);
    EXPECT_EQ(owning.elementAt(-1), nullptr);

    ExtPtrArrayRc counting;
    shared->incRefCount();
    EXPECT_TRUE(counting.appendRefCounted(shared));
    EXPECT_EQ(counting.elementAt(0), shared);
    EXPECT_EQ(counting.elementAt(1), nullptr);
    EXPECT_EQ(shared->refCount(), 2);
  }
  EXPECT_EQ(living, 1);
  EXPECT_EQ(shared->refCount(), 1);
  shared->decRefCount();
  EXPECT_EQ(living, 0);
}

TEST(ExtPtrArray, GivesUpWhatItCannotKeep) {
  int living = 0;
  forEachAllocationFault(
      [&] {
        ExtPtrArray array;
        if (auto* object = new (std::nothrow) Owned(living)) array.appendObject(object);
      },
      [&](bool) { ASSERT_EQ(living, 0); });
  forEachAllocationFault(
      [&] {
        ExtPtrArrayRc array;
        auto* object = new (std::nothrow) Counted(living);
        if (object == nullptr) return;
        object->incRefCount();
        array.appendRefCounted(object);
      },
      [&](bool) { ASSERT_EQ(living, 0); });
}

}  // namespace
}  // namespace velmora
