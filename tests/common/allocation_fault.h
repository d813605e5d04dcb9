#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

/// Makes an allocation of a test program fail. Include this header in exactly one .cpp of the
/// program: it replaces the global allocation functions, which must not be inline. They stand on
/// malloc, so that the sanitizers keep seeing every block.
///
///   forEachAllocationFault(
///       [&] { result = subject.operation(); },  // runs again and again, from the same state
///       [&](bool faulted) { EXPECT_EQ(result, !faulted); });  // may allocate as it likes
///
/// The operation runs with its first allocation failing, then its second, and so on, until it runs
/// through without a fault; that last run is checked too. Only the calling thread is affected.
/// The size of its largest allocation is kept as well, for tests of what hostile input may take.

namespace velmora::test {

inline thread_local size_t allocationsUntilFault = 0;  // 0: none fails
inline thread_local size_t largestAllocation = 0;

class AllocationFault {
 public:
  /// From now on to the end of the scope the n-th allocation (from 1) fails, and only that one.
  explicit AllocationFault(size_t n) noexcept { allocationsUntilFault = n; }
  ~AllocationFault() { allocationsUntilFault = 0; }
  AllocationFault(const AllocationFault&) = delete;
  AllocationFault& operator=(const AllocationFault&) = delete;

  bool happened() const noexcept { return allocationsUntilFault == 0; }
};

/// As described above; gives the number of faults that the operation met.
template <class Attempt, class Check>
size_t forEachAllocationFault(Attempt attempt, Check check) {
  for (size_t n = 1;; ++n) {
    bool faulted = false;
    {
      const AllocationFault fault(n);
      attempt();
      faulted = fault.happened();
    }
    check(faulted);
    if (!faulted) return n - 1;
  }
}

/// Stands in an answer for what memory did not suffice for.
inline constexpr const char* kNoMemory = "no memory";

/// Asks with each allocation failing in turn: the text given is the right one or tells of
/// kNoMemory, or std::bad_alloc is thrown; and afterwards it is the right one again. Gives the
/// number of faults.
template <class Ask>
size_t expectRightOrNone(const Ask& ask) {
  const std::string whole = ask();
  std::string said;
  return forEachAllocationFault(
      [&] {
        try {
          said = ask();
        } catch (const std::bad_alloc&) {
          said.assign(kNoMemory);  // fits without memory
        }
      },
      [&](bool faulted) {
        EXPECT_TRUE(said == whole || (faulted && said.find(kNoMemory) != said.npos)) << said;
        EXPECT_EQ(ask(), whole);
      });
}

inline void* allocateOrFail(size_t size) noexcept {
  if (allocationsUntilFault != 0 && --allocationsUntilFault == 0) return nullptr;
  if (size > largestAllocation) largestAllocation = size;
  return std::malloc(size != 0 ? size : 1);
}

inline void* allocateOrThrow(size_t size) {
  if (void* memory = allocateOrFail(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace velmora::test

// Kept out of line: next to an inlined one of them the compiler sees free meet new, and warns.
[[gnu::noinline]] void* operator new(size_t size) {
  return velmora::test::allocateOrThrow(size);
}
[[gnu::noinline]] void* operator new[](size_t size) {
  return velmora::test::allocateOrThrow(size);
}
[[gnu::noinline]] void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return velmora::test::allocateOrFail(size);
}
[[gnu::noinline]] void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return velmora::test::allocateOrFail(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, size_t) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}
