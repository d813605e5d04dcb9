#include "bench/live_heap.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

bool counting = false;
ptrdiff_t live = 0;

ptrdiff_t usableSize(void* block) {
  return static_cast<ptrdiff_t>(malloc_usable_size(block));
}

}  // namespace

// The other forms of new and delete come down to these.
void* operator new(size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  if (counting) live += usableSize(block);
  return block;
}

void operator delete(void* block) noexcept {
  if (counting && block != nullptr) live -= usableSize(block);
  std::free(block);
}

void operator delete(void* block, size_t) noexcept {
  operator delete(block);
}

namespace velmora::bench {

LiveHeap::LiveHeap() {
  live = 0;
  counting = true;
}

LiveHeap::~LiveHeap() {
  counting = false;
}

ptrdiff_t LiveHeap::bytes() const {
  return live;
}

}  // namespace velmora::bench
