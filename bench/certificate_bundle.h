#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/support/text/data_buffer.h"

namespace velmora::bench {

/// DER of certificates, one after the other.
using Ders = std::vector<DataBuffer>;

/// The certificates of a file in any form that velmora-x509 reads; empty when it has none.
Ders readDers(const char* path);

/// A PKCS #7 SignedData bundle of `count` certificates, no two of them the same: those given, again
/// and again, with their serial numbers overwritten. Empty when memory ran out.
DataBuffer makeBundle(const Ders& ders, size_t count);

/// A certificate, with a key and a signature that are none, with so many DNS names as alternative
/// names, or with so many RDNs in its subject.
DataBuffer makeWithAlternativeNames(size_t count);
DataBuffer makeWithRdns(size_t count);

}  // namespace velmora::bench
