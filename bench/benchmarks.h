#pragma once

#include "bench/certificate_bundle.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::bench {

// Each registers benchmarks whose iterations treat every certificate of `ders` once (the bundle's:
// load one bundle). What they refer to outlives the run. Names end in "/velmora", "/typed",
// "/openssl" and "/mbedtls", or in the bundle's size.

void registerReading(const Ders& ders);
void registerTyped(const Ders& ders);
void registerBundle(const DataBuffer& bundle, size_t count);

/// The heap that a loaded certificate holds, its object included, in bytes on average.
double heapOfLoaded(const Ders& ders);
/// The same of a typed certificate.
double heapOfParsed(const Ders& ders);

/// The machine, the compiler and the libraries, for people.
StringBuffer describeMachine();

}  // namespace velmora::bench
