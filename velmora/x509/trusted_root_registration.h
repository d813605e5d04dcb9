#pragma once

// Registers certificates in TrustedRoots, under the serial number and the subject texts by which
// VelmoraX509::verifyCertSignature asks for them. `set` is a set of that registry, null the one
// that verification asks. Any thread may call any of these.

#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora {

/// Registers a certificate as an explicitly trusted root. False, with an error, for one that is not
/// issued by itself (verification asks for no other), one whose serial number or public key cannot
/// be read, and whatever TrustedRoots::addRoot refuses. Its signature and dates are not looked at:
/// a root is trusted because the application says so. Holds the certificate's lock. Log context
/// "addTrustedRoot".
VELMORA_API bool addTrustedRoot(VelmoraX509& root, const char* set, LogBase& log);

/// Marks a certificate's name and serial number as implicitly trusted: every certificate that has
/// them and whose signature is right is then a trusted root, whatever its key. False, with an
/// error, when the serial number cannot be read or memory ran out. Holds the certificate's lock.
/// Log context "trustRootImplicitly".
VELMORA_API bool trustRootImplicitly(VelmoraX509& root, const char* set, LogBase& log);

/// Forgets the root or mark that has the certificate's name and serial number, whatever its key.
/// False when there is none, which is no error, and, with an error, when the serial number cannot
/// be read or memory ran out. Holds the certificate's lock. Log context "removeTrustedRoot".
VELMORA_API bool removeTrustedRoot(VelmoraX509& root, const char* set, LogBase& log);

}  // namespace velmora
