#pragma once

// From one face of a certificate to the other.

#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/certificate/result.h"
#include "velmora/reading/reading.h"
#include "velmora/support/core/export.h"
#include "velmora/support/core/objects.h"
#include "velmora/support/trust/system_certs.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora {

/// The typed certificate of an object's DER, which is copied; of BER that of the DER made of it
/// (certificateFromBer). Errors as Certificate::parse has them; notAsn1 for an object that holds no
/// bytes. Takes the object's lock for the copy.
VELMORA_API Result<Certificate> certificateOf(VelmoraX509& object) noexcept;

/// A new object loaded with a certificate's DER, counted once for the caller; empty when memory ran
/// out.
VELMORA_API RefOwner<VelmoraX509> objectOf(const Certificate& certificate) noexcept;

/// What a store holds, in its order; what of it is no certificate is a failure with its number as
/// `index`. Throws std::bad_alloc. Takes the store's lock for each certificate, so one that is
/// added meanwhile may be among them.
VELMORA_API Reading certificatesOf(const SystemCerts& store);

}  // namespace velmora
