#include "velmora/support/key/rsa.h"

#include <algorithm>
#include <array>

#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/core/words.h"
#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/key/internal/digest_info.h"
#include "velmora/support/log/refuse.h"

namespace velmora {

using vartime::Limb;

namespace {

std::span<const unsigned char> withoutZeros(std::span<const unsigned char> number) noexcept {
  const auto isZero = [](unsigned char octet) { return octet == 0; };
  return {std::find_if_not(number.begin(), number.end(), isZero), number.end()};
}

// Why the numbers, without zeros in front, are no key; null when they are one.
const char* keyFault(std::span<const unsigned char> modulus,
                     std::span<const unsigned char> exponent) noexcept {
  constexpr size_t kMinSize = RsaKeyData::kMinModulusBits / 8;
  constexpr size_t kMaxExponentSize = RsaKeyData::kMaxExponentBits / 8;
  if (modulus.size() > RsaKeyData::kMaxModulusSize) {
    return "The RSA modulus is longer than 16384 bits.";
  }
  const bool isShort = modulus.size() == kMinSize && modulus[0] < 0x80;
  if (modulus.size() < kMinSize || isShort) return "The RSA modulus is shorter than 512 bits.";
  if (modulus.back() % 2 == 0) return "The RSA modulus is even.";
  if (exponent.size() > kMaxExponentSize) return "The RSA public exponent is longer than 64 bits.";
  const bool isTooSmall = exponent.empty() || (exponent.size() == 1 && exponent[0] < 3);
  if (isTooSmall || exponent.back() % 2 == 0) return "The RSA public exponent is even or below 3.";
  return nullptr;
}

}  // namespace

RsaKeyData::RsaKeyData(vartime::ArithmeticPath path) : m_arithmetic(path) {}

bool RsaKeyData::isKey(std::span<const unsigned char> modulus,
                       std::span<const unsigned char> exponent) noexcept {
  return keyFault(withoutZeros(modulus), withoutZeros(exponent)) == nullptr;
}

bool RsaKeyData::assign(std::span<const unsigned char> modulus,
                        std::span<const unsigned char> exponent, LogBase& log) {
  modulus = withoutZeros(modulus);
  exponent = withoutZeros(exponent);
  if (const char* const fault = keyFault(modulus, exponent)) return refuse(fault, log);
  const size_t n = vartime::limbsForBits(8 * modulus.size());
  vartime::limbsFromBigEndian(m_modulus, n, modulus.data(), modulus.size());
  vartime::limbsFromBigEndian(&m_exponent, 1, exponent.data(), exponent.size());
  return m_arithmetic.assign(m_modulus, n);
}

unsigned RsaKeyData::get_ModulusBitLen() const noexcept {
  return static_cast<unsigned>(vartime::bitLength(m_modulus, m_arithmetic.count()));
}

bool RsaKeyData::applyPublicExponent(const unsigned char* signature,
                                     unsigned char* block) const noexcept {
  const size_t n = m_arithmetic.count();
  Limb x[vartime::kMaxModulusLimbs];
  if (!vartime::limbsFromBigEndian(x, n, signature, modulusSize())) return false;
  if (vartime::compareLimbs(x, m_modulus, n) >= 0) return false;
  m_arithmetic.power(x, x, m_exponent);
  return vartime::limbsToBigEndian(block, modulusSize(), x, n);
}

// RSASSA-PKCS1-v1_5

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
  return out.append(content) || refuse(kOutOfMemory, log);
}

}  // namespace

// RSASSA-PSS

namespace {

constexpr unsigned char kTrailer = 0xBC;
constexpr unsigned char kSaltMark = 0x01;
constexpr size_t kLeadingZeros = 8;
constexpr size_t kMaxDigestSize = _vmHash::kMaxDigestSize;

// EM = maskedDB || H || BC
struct PssBlock {
  std::span<const unsigned char> maskedDb;
  std::span<const unsigned char> h;
  unsigned char topMask;  // the bits of the first octet that belong to the number
};

// Takes the block apart; false when its shape is wrong whatever it was made for.
bool splitBlock(std::span<const unsigned char> block, size_t modulusBits, size_t digestSize,
                PssBlock& parts) {
  const size_t encodedBits = modulusBits - 1;
  const size_t encodedSize = (encodedBits + 7) / 8;
  // One octet less than the modulus has when that leaves a whole number of octets.
  if (encodedSize < block.size() && block[0] != 0) return false;
  const auto encoded = block.last(encodedSize);
  if (encodedSize < digestSize + 2 || encoded.back() != kTrailer) return false;
  parts.topMask = static_cast<unsigned char>(0xFF >> (8 * encodedSize - encodedBits));
  if ((encoded[0] & ~parts.topMask) != 0) return false;
  const size_t dbSize = encodedSize - digestSize - 1;
  parts.maskedDb = encoded.first(dbSize);
  parts.h = encoded.subspan(dbSize, digestSize);
  return true;
}

// bytes ^= MGF1(seed) (RFC 8017 §B.2.1).
void unmask(std::span<unsigned char> bytes, std::span<const unsigned char> seed, int hashId) {
  std::array<unsigned char, kMaxDigestSize + 4> input{};
  unsigned char* const counter = std::copy(seed.begin(), seed.end(), input.data());
  std::array<unsigned char, kMaxDigestSize> mask;
  for (uint32_t i = 0; !bytes.empty(); ++i) {
    storeBigEndian(counter, i);
    const size_t made = _vmHash::hashTo(input.data(), seed.size() + 4, hashId, mask.data());
    const size_t used = std::min(made, bytes.size());
    for (size_t at = 0; at < used; ++at) bytes[at] ^= mask[at];
    bytes = bytes.subspan(used);
  }
}

// H = Hash(eight zero octets || hash of the message || salt)
bool matchesSalt(const PssBlock& parts, std::span<const unsigned char> hash,
                 std::span<const unsigned char> salt, int hashId) {
  std::array<unsigned char, kLeadingZeros + kMaxDigestSize + RsaKeyData::kMaxModulusSize> message;
  unsigned char* end = std::fill_n(message.data(), kLeadingZeros, static_cast<unsigned char>(0));
  end = std::copy(hash.begin(), hash.end(), end);
  end = std::copy(salt.begin(), salt.end(), end);
  std::array<unsigned char, kMaxDigestSize> digest;
  const size_t size = static_cast<size_t>(end - message.data());
  _vmHash::hashTo(message.data(), size, hashId, digest.data());
  return std::equal(parts.h.begin(), parts.h.end(), digest.begin());
}

// DB = zeros || 01 || salt
bool matchesWithMask(const PssBlock& parts, std::span<const unsigned char> hash, int hashId,
                     int maskHashId, PssForm& form) {
  std::array<unsigned char, RsaKeyData::kMaxModulusSize> room;
  const std::span<unsigned char> db(room.data(), parts.maskedDb.size());
  std::copy(parts.maskedDb.begin(), parts.maskedDb.end(), db.begin());
  unmask(db, parts.h, maskHashId);
  db[0] &= parts.topMask;
  const auto mark = std::find_if(db.begin(), db.end(), [](unsigned char c) { return c != 0; });
  if (mark == db.end() || *mark != kSaltMark) return false;
  const std::span<const unsigned char> salt(mark + 1, db.end());
  form = {maskHashId, salt.size()};
  return matchesSalt(parts, hash, salt, hashId);
}

// EMSA-PSS (RFC 8017 §9.1.2). `block` is as long as the modulus, which has `modulusBits` bits.
bool verifyPssBlock(std::span<const unsigned char> block, size_t modulusBits,
                    std::span<const unsigned char> hash, int hashId, PssForm& form, LogBase& log) {
  if (hash.empty() || hash.size() != _vmHash::digestSize(hashId)) {
    return refuse("The hash of the RSASSA-PSS signature is not known or of another size.", log);
  }
  PssBlock parts;
  if (!splitBlock(block, modulusBits, hash.size(), parts)) {
    return refuse("The RSA block has not the form of RSASSA-PSS.", log);
  }
  if (matchesWithMask(parts, hash, hashId, hashId, form)) return true;
  for (const int other : {_vmHash::kSha1, _vmHash::kSha256, _vmHash::kSha384, _vmHash::kSha512}) {
    if (other != hashId && matchesWithMask(parts, hash, hashId, other, form)) return true;
  }
  return refuse("The RSASSA-PSS signature is not one of this hash.", log);
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
