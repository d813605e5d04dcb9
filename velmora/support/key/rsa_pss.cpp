#include "velmora/support/key/rsa_pss.h"

#include <algorithm>
#include <array>

#include "velmora/support/hash/vm_hash.h"
#include "velmora/support/key/refuse.h"
#include "velmora/support/key/rsa.h"

namespace velmora {
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
    for (unsigned octet = 0; octet < 4; ++octet) {
      counter[octet] = static_cast<unsigned char>(i >> (24 - 8 * octet));
    }
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

}  // namespace

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

}  // namespace velmora
