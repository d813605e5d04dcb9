#pragma once

#include <map>
#include <string>

#include "bench/certificate_bundle.h"
#include "bench/timings.h"

namespace velmora::bench {

// Each registers benchmarks whose iterations treat every certificate of `ders` once. What they
// refer to outlives the run. Names end in "/velmora", "/typed" and the key of a peer.

void registerReading(const Ders& ders, Timings& timings);
void registerTyped(const Ders& ders);

/// What grows: a bundle loaded, one certificate loaded and asked for its alternative names or its
/// subject. The size stands in the names before who is measured.
void registerGrowth(const Ders& ders, Timings& timings);

/// The heap that a loaded certificate holds, its object included, in bytes on average.
double heapOfLoaded(const Ders& ders);
/// The same of a typed certificate.
double heapOfParsed(const Ders& ders);

/// The processor, the compiler and the libraries in words, and by "peers" the keys and titles of
/// the libraries in their order.
std::map<std::string, std::string> describeMachine();

}  // namespace velmora::bench
