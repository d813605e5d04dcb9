#pragma once

#include <new>

namespace velmora::tool {

/// Gives a buffer back of which nothing is missing; throws std::bad_alloc when memory ran out for
/// it, since a shortened name or key is worse than none. Also to be asked before an operation is
/// believed that something is not there, since lack of memory looks the same.
template <class Buffer>
Buffer& whole(Buffer& buffer) {
  if (buffer.failed()) throw std::bad_alloc();
  return buffer;
}

}  // namespace velmora::tool
