#pragma once

// One link of a way by itself: whether one certificate can have issued another.

#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/path/finding.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// Three questions about `issuer`, which is no anchor, and `certificate`: whether its key signed
/// it, whether it is a CA (notACa, also where basicConstraints cannot be read), and whether it may
/// sign certificates (mayNotSign, also where keyUsage cannot be read); the answers that are no, in
/// the order of Reason. Empty when nothing is against it. Nothing else is asked: no names, dates,
/// versions, departures, critical extensions, key sizes, hashes or path lengths, which verify()
/// judges. Throws std::bad_alloc.
VELMORA_API std::vector<Reason> linkFaults(const Certificate& certificate,
                                           const Certificate& issuer);

}  // namespace velmora
