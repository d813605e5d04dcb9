#include "velmora/support/core/arrays.h"

#include <thread>

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

  array.truncate(2000);
  EXPECT_EQ(array.size(), 1001U);
  PodArray<int> taken(std::move(array));
  EXPECT_EQ(array.capacity(), 0U);
  EXPECT_GE(taken.capacity(), 1001U);
  array = std::move(taken);
  EXPECT_EQ(array.size(), 1001U);
}

TEST(PodArray, IsUnchangedWhenMemoryDoesNotSuffice) {
  PodArray<uint64_t> array;
  ASSERT_TRUE(array.push_back(5));
  EXPECT_EQ(array.extend(SIZE_MAX), nullptr);
  EXPECT_EQ(array.extend(SIZE_MAX / 8), nullptr);
  EXPECT_FALSE(array.reserve(SIZE_MAX / 8 + 2));
  array.shrinkToFit();
  bool pushed = false;
  forEachAllocationFault([&] { pushed = array.push_back(6); },
                         [&](bool faulted) {
                           EXPECT_EQ(pushed, !faulted);
                           ASSERT_EQ(array.size(), faulted ? 1U : 2U);
                           EXPECT_EQ(array[0], 5U);
                         });
}

TEST(RefCountedObject, CountsAndLocksBetweenThreads) {
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
  EXPECT_EQ(living, 1);
  object->decRefCount();
  (new Counted(living))->decRefCount();  // never kept by anyone
  EXPECT_EQ(living, 0);
}

TEST(ExtPtrArray, HoldsObjectsOrReferences) {
  int living = 0;
  RefOwner<Counted> shared = RefOwner<Counted>::keep(new Counted(living));
  RefOwner<Counted> handedOn(std::move(shared));
  shared = std::move(handedOn);
  EXPECT_FALSE(handedOn);
  EXPECT_FALSE(RefOwner<Counted>::keep(nullptr));
  {
    ExtPtrArray owning;
    auto* owned = new Owned(living);
    EXPECT_TRUE(owning.appendObject(owned));
    EXPECT_FALSE(owning.appendObject(nullptr));
    EXPECT_EQ(owning.elementAt(0), owned);
    EXPECT_EQ(owning.elementAt(1), nullptr);
    EXPECT_EQ(owning.elementAt(-1), nullptr);

    ExtPtrArrayRc counting;
    shared->incRefCount();
    EXPECT_TRUE(counting.appendRefCounted(shared.get()));
    EXPECT_EQ(counting.elementAt(0), shared.get());
    EXPECT_EQ(counting.elementAt(1), nullptr);
    EXPECT_EQ(shared->refCount(), 2);
  }
  EXPECT_EQ(living, 1);
  EXPECT_EQ(shared->refCount(), 1);
}

}  // namespace
}  // namespace velmora
