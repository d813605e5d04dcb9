#pragma once

#include <cstddef>
#include <span>

#include "velmora/support/log/log_base.h"

namespace velmora {

/// With what a block of RSASSA-PSS was made.
struct PssForm {
  int maskHashId = 0;   // of _vmHash: the hash of the mask generation function MGF1
  size_t saltSize = 0;  // in octets
};

/// EMSA-PSS verification (RFC 8017 §9.1.2). `block` is the result of the RSA operation, as long as
/// the modulus, which has `modulusBits` bits; `hash` is that of the message, made with `hashId` of
/// _vmHash. The salt's length is what the block says. The hash of the mask generation function MGF1
/// is not known here: that of the message is tried first, then the others; `form` tells which it
/// was. False, with the reason logged, when the block does not fit the hash.
bool verifyPssBlock(std::span<const unsigned char> block, size_t modulusBits,
                    std::span<const unsigned char> hash, int hashId, PssForm& form, LogBase& log);

}  // namespace velmora
