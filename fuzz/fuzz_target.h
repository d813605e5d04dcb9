#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// What every fuzz target defines: it runs one input and ends the program when its property does
/// not hold.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace velmora::fuzz {

/// Ends the program with a message unless the property holds.
inline void require(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "property broken: %s\n", property);
  std::abort();
}

}  // namespace velmora::fuzz
