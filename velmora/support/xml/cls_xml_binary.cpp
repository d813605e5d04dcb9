#include "velmora/support/xml/cls_xml.h"
#include "velmora/support/zip/zlib_codec.h"

namespace velmora {

bool ClsXml::setBinaryContent(const DataBuffer& data, bool zip, bool, const char*, LogBase& log) {
  DataBuffer compressed;
  StringBuffer base64;
  const bool written = !data.failed() && (!zip || zlibCompress(data.span(), compressed)) &&
                       (zip ? compressed : data).encodeDB("base64", base64) &&
                       put_ContentUtf8(base64.view());
  if (!written) log.LogError("Failed to set binary content: out of memory.");
  return written;
}

bool ClsXml::getBinaryContent(bool zip, size_t maxSize, DataBuffer& out, LogBase& log) const {
  DataBuffer octets;
  if (!octets.appendEncoded(contentView(), "base64")) {
    log.LogError("Failed to decode binary content.");
    return false;
  }
  InflateResult result = InflateResult::kTooLarge;
  if (zip) {
    result = zlibInflate(octets.span(), maxSize, out);
  } else if (octets.size() <= maxSize) {
    result = out.append(octets) ? InflateResult::kOk : InflateResult::kOutOfMemory;
  }
  if (result == InflateResult::kOk) return true;
  log.LogError("Failed to read binary content.");
  log.LogData("reason", inflateResultText(result));
  return false;
}

}  // namespace velmora
