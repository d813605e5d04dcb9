#pragma once

#include <cstddef>

namespace velmora::bench {

/// Counts, while it lives, the bytes that operator new has handed out and operator delete has not
/// taken back, as the allocator rounds them. One at a time, on one thread.
class LiveHeap {
 public:
  LiveHeap();
  ~LiveHeap();
  LiveHeap(const LiveHeap&) = delete;
  LiveHeap& operator=(const LiveHeap&) = delete;

  ptrdiff_t bytes() const;
};

}  // namespace velmora::bench
