#pragma once

#include <new>

namespace velmora::tool {

/// Gives a buffer back of which nothing is missing; throws std::bad_alloc when memory ran out for
/// it, since a shortened name or key is worse than none. Also to be asked before an operation's
/// "not there" is believed, which lack of memory looks like.
template <class Buffer>
Buffer& whole(Buffer& buffer) {
  if (buffer.failed()) throw std::bad_alloc();
  return buffer;
}

}  // namespace velmora::tool
