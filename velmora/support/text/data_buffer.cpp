#include "velmora/support/text/data_buffer.h"

#include <utility>

#include "velmora/support/text/ascii.h"
#include "velmora/support/text/byte_codecs.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {
namespace {

enum class TextEncoding { kUnknown, kHexUpper, kHexLower, kBase64, kBase64Url };

TextEncoding encodingByName(const char* name) noexcept {
  static constexpr std::pair<std::string_view, TextEncoding> kNames[] = {
      {"hex", TextEncoding::kHexUpper},
      {"hexlower", TextEncoding::kHexLower},
      {"base64", TextEncoding::kBase64},
      {"base64url", TextEncoding::kBase64Url},
  };
  const std::string_view wanted = viewOrEmpty(name);
  for (const auto& [known, encoding] : kNames) {
    if (equalsIgnoringAsciiCase(wanted, known)) return encoding;
  }
  return TextEncoding::kUnknown;
}

bool appendHex(const DataBuffer& bytes, bool upper, StringBuffer& out) noexcept {
  char* digits = out.extend(bytes.size() * 2);
  if (digits == nullptr) return false;
  (upper ? hexEncodeUpper : hexEncodeLower)(bytes.data(), bytes.size(), digits);
  return true;
}

bool appendBase64(const DataBuffer& bytes, bool url, StringBuffer& out) noexcept {
  const size_t before = out.getSize();
  char* characters = out.extend(base64Length(bytes.size()));
  if (characters == nullptr) return false;
  if (url) {
    out.truncate(before + base64UrlEncode(bytes.data(), bytes.size(), characters));
  } else {
    base64Encode(bytes.data(), bytes.size(), characters);
  }
  return true;
}

}  // namespace

std::string_view DataBuffer::view() const noexcept {
  return {reinterpret_cast<const char*>(data()), size()};
}

bool DataBuffer::append(const DataBuffer& other) noexcept {
  return m_bytes.append(other.m_bytes);
}

bool DataBuffer::append(std::span<const unsigned char> bytes) noexcept {
  return m_bytes.append(bytes.data(), bytes.size());
}

bool DataBuffer::assign(const void* bytes, size_t count) noexcept {
  return m_bytes.assign(bytes, count);
}

bool DataBuffer::appendEncoded(const char* text, const char* encoding) noexcept {
  return appendEncoded(viewOrEmpty(text), encoding);
}

bool DataBuffer::appendEncoded(std::string_view text, const char* encoding) noexcept {
  const TextEncoding known = encodingByName(encoding);
  if (known == TextEncoding::kUnknown) return false;
  const bool hex = known == TextEncoding::kHexUpper || known == TextEncoding::kHexLower;
  const size_t before = size();
  unsigned char* out = extend(hex ? text.size() / 2 : text.size() / 4 * 3 + 3);
  if (out == nullptr) return false;
  const DecodeResult decoded =
      hex ? hexDecode(text, out) : base64Decode(text, known == TextEncoding::kBase64Url, out);
  truncate(before + decoded.written);
  return decoded.complete;
}

bool DataBuffer::encodeDB(const char* encoding, StringBuffer& out) const noexcept {
  const TextEncoding known = encodingByName(encoding);
  if (known == TextEncoding::kUnknown) return false;
  if (failed()) {
    out.markFailed();
    return false;
  }
  switch (known) {
    case TextEncoding::kHexUpper:
      return appendHex(*this, true, out);
    case TextEncoding::kHexLower:
      return appendHex(*this, false, out);
    case TextEncoding::kBase64:
      return appendBase64(*this, false, out);
    default:
      return appendBase64(*this, true, out);
  }
}

void DataBuffer::byteSwap21() noexcept {
  unsigned char* bytes = data();
  for (size_t i = 0; i + 1 < size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
}

}  // namespace velmora
