#pragma once

#include <string>

#include "bench/certificate_bundle.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::bench {

// Each registers benchmarks whose iterations treat every certificate of `ders` once. What they
// refer to outlives the run. Names end in "/velmora", "/typed", "/openssl" and "/mbedtls".

void registerReading(const Ders& ders);
void registerTyped(const Ders& ders);

/// What grows, and to which sizes: a bundle loaded, one certificate loaded and asked for its
/// alternative names or its subject. The names of its benchmarks end in "/" and the size.
inline constexpr const char* kGrowing[] = {"bundle", "alternative names", "RDNs"};
inline constexpr size_t kSizes[] = {10, 100, 1'000, 10'000, 100'000};
inline std::string growthName(const char* what, size_t size) {
  std::string name = what;
  name += '/';
  return name += std::to_string(size);
}
void registerGrowth(const Ders& ders);

/// The heap that a loaded certificate holds, its object included, in bytes on average.
double heapOfLoaded(const Ders& ders);
/// The same of a typed certificate.
double heapOfParsed(const Ders& ders);

/// The machine, the compiler and the libraries, for people.
StringBuffer describeMachine();

}  // namespace velmora::bench
