#pragma once

#include <span>

#include "support/log/log_base.h"

namespace velmora {

/// EMSA-PSS verification (RFC 8017 §9.1.2). `block` is the result of the RSA operation, as long as
/// the modulus, which has `modulusBits` bits; `hash` is that of the message, made with `hashId` of
/// _vmHash. The salt's length is what the block says. The hash of the mask generation function MGF1
/// is not known here: that of the message is tried first, then the others. False, with the reason
/// logged, when the block does not fit the hash.
bool verifyPssBlock(std::span<const unsigned char> block, size_t modulusBits,
                    std::span<const unsigned char> hash, int hashId, LogBase& log);

}  // namespace velmora
