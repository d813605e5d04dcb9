#pragma once

// One link of a way by itself: whether one certificate can have issued another.

#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/path/finding.h"

namespace velmora {

/// Why `issuer`, which is no anchor, would not stand above `certificate` on a way, whatever the
/// time and the purpose: that it is no CA, may not sign certificates, or did not sign this one, in
/// the order of Reason. Empty when nothing is against it. Names are not looked at. Throws
/// std::bad_alloc.
std::vector<Reason> linkFaults(const Certificate& certificate, const Certificate& issuer);

}  // namespace velmora
