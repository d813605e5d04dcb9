#include "velmora/support/key/rsa_primitive.h"

#include <algorithm>
#include <span>

#include "velmora/support/key/internal/digest_info.h"
#include "velmora/support/key/refuse.h"

namespace velmora {
namespace {

constexpr unsigned char kBlockType = 0x01;
constexpr unsigned char kFiller = 0xFF;
constexpr size_t kMinFillers = 8;

// EB = 00 || 01 || FF ... FF || 00 || content (RFC 8017 §9.2).
bool takeContent(std::span<const unsigned char> block, std::span<const unsigned char>& content,
                 LogBase& log) {
  if (block[0] != 0 || block[1] != kBlockType) {
    return refuse("The RSA block is not of type 1.", log);
  }
  const auto fillers = block.subspan(2);
  const auto end = std::find_if(fillers.begin(), fillers.end(),
                                [](unsigned char octet) { return octet != kFiller; });
  if (end == fillers.end() || *end != 0) {
    return refuse("The padding of the RSA block is not FF up to a zero.", log);
  }
  if (static_cast<size_t>(end - fillers.begin()) < kMinFillers) {
    return refuse("The padding of the RSA block is shorter than eight octets.", log);
  }
  content = {end + 1, fillers.end()};
  return true;
}

bool unsignPkcs1(std::span<const unsigned char> block, DataBuffer& out, LogBase& log) {
  std::span<const unsigned char> content;
  if (!takeContent(block, content, log)) return false;
  if (!isStrictDigestInfo(content) && hasHashAndDigest(content)) {
    return refuse("The RSA block holds more or other than the DER of one DigestInfo.", log);
  }
  return out.append(content) || refuse("Out of memory.", log);
}

}  // namespace

bool RsaPrimitive::unsignSslSig(const unsigned char* sig, unsigned sigLen,
                                const unsigned char* hash, unsigned hashLen, const RsaKeyData& key,
                                int padding, int pssHashId, DataBuffer& out, LogBase& log,
                                PssForm* pssForm) {
  const LogContextExitor context(log, "rsaUnsign");
  out.clear();
  const size_t size = key.modulusSize();
  if (sigLen != size) return refuse("The RSA signature is not as long as the modulus.", log);
  unsigned char room[RsaKeyData::kMaxModulusSize];
  if (!key.applyPublicExponent(sig, room)) {
    return refuse("The RSA signature is not below the modulus.", log);
  }
  const std::span<const unsigned char> block(room, size);
  if (padding == kPaddingPkcs1) return unsignPkcs1(block, out, log);
  if (padding == kPaddingPss) {
    PssForm form;
    return verifyPssBlock(block, key.get_ModulusBitLen(), {hash, hashLen}, pssHashId,
                          pssForm != nullptr ? *pssForm : form, log);
  }
  return refuse("The RSA padding scheme is not known.", log);
}

}  // namespace velmora
