#pragma once

// Where lack of memory ends in std::bad_alloc: for code that throws, over buffers that do not.

#include <new>

namespace velmora {

/// Gives a buffer back of which nothing is missing; throws std::bad_alloc when memory ran out for
/// it, since a shortened name or key is worse than none. Also to be asked before an operation is
/// believed that something is not there, since lack of memory looks the same.
template <class Buffer>
Buffer&& whole(Buffer&& buffer) {
  if (buffer.failed()) throw std::bad_alloc();
  return static_cast<Buffer&&>(buffer);
}

}  // namespace velmora
