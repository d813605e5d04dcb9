// To be preloaded: of a program the n-th allocation fails, n being FAILS_AT, and with FAILS_ON all
// behind it. Writes to the file ALLOCATIONS how many there were.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> count = 0;

void* allocateOrFail(size_t size) noexcept {
  static const char* const at = std::getenv("FAILS_AT");
  static const long fails = at != nullptr ? std::atol(at) : 0;
  static const bool goesOn = std::getenv("FAILS_ON") != nullptr;
  const long n = ++count;
  return n == fails || (goesOn && n > fails) ? nullptr : std::malloc(size);
}

void* allocateOrThrow(size_t size) {
  if (void* memory = allocateOrFail(size)) return memory;
  throw std::bad_alloc();
}

const struct Count {
  ~Count() {
    const char* const name = std::getenv("ALLOCATIONS");
    std::FILE* const file = name != nullptr ? std::fopen(name, "w") : nullptr;
    if (file == nullptr) return;
    std::fprintf(file, "%ld", count.load());
    std::fclose(file);
  }
} countAtEnd;

}  // namespace

void* operator new(size_t size) {
  return allocateOrThrow(size);
}
void* operator new[](size_t size) {
  return allocateOrThrow(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return allocateOrFail(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return allocateOrFail(size);
}
