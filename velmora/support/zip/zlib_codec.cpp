#include "velmora/support/zip/zlib_codec.h"

#include "velmora/support/core/words.h"
#include "velmora/support/zip/adler32.h"
#include "velmora/support/zip/deflate.h"

namespace velmora {
namespace {

// RFC 1950 §2.2. CMF: method 8 with a window of 2^(7 + 8) bytes. FLG: no dictionary, the default
// level, and a check that makes the two bytes a multiple of 31.
constexpr unsigned char kHeader[2] = {0x78, 0x9c};
constexpr unsigned kMethodDeflate = 8;
constexpr unsigned kLargestWindowCode = 7;
constexpr unsigned kPresetDictionary = 0x20;
constexpr size_t kChecksumSize = 4;

/// The window size that a zlib header names; 0 when the bytes are no header that can be read.
size_t windowOfHeader(std::span<const unsigned char> header) noexcept {
  const unsigned cmf = header[0], flags = header[1];
  const unsigned windowCode = cmf >> 4;
  if ((cmf & 0x0f) != kMethodDeflate || windowCode > kLargestWindowCode) return 0;
  if ((cmf << 8 | flags) % 31 != 0 || (flags & kPresetDictionary) != 0) return 0;
  return size_t{256} << windowCode;
}

InflateResult checkEnd(std::span<const unsigned char> end,
                       std::span<const unsigned char> output) noexcept {
  if (end.size() < kChecksumSize) return InflateResult::kTruncated;
  if (loadBigEndian<uint32_t>(end.data()) != adler32(output)) return InflateResult::kBadChecksum;
  return end.size() == kChecksumSize ? InflateResult::kOk : InflateResult::kTrailingBytes;
}

}  // namespace

bool zlibCompress(std::span<const unsigned char> in, DataBuffer& out) noexcept {
  const size_t start = out.size();
  const uint32_t sum = adler32(in);
  unsigned char checksum[kChecksumSize];
  storeBigEndian(checksum, sum);
  if (out.append(kHeader, sizeof kHeader) && deflateRaw(in, out) &&
      out.append(checksum, kChecksumSize)) {
    return true;
  }
  out.truncate(start);
  return false;
}

InflateResult zlibInflate(std::span<const unsigned char> in, size_t maxOutput,
                          DataBuffer& out) noexcept {
  if (in.size() < sizeof kHeader) return InflateResult::kTruncated;
  const size_t window = windowOfHeader(in);
  if (window == 0) return InflateResult::kBadHeader;
  const size_t start = out.size();
  size_t used = 0;
  const auto body = in.subspan(sizeof kHeader);
  InflateResult result = inflateRaw(body, maxOutput, out, used, window);
  if (result == InflateResult::kOk) {
    result = checkEnd(body.subspan(used), out.span().subspan(start));
  }
  if (result != InflateResult::kOk) out.truncate(start);
  return result;
}

}  // namespace velmora
