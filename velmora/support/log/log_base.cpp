#include "velmora/support/log/log_base.h"

namespace velmora {

void LogBase::LogDataLong(const char* key, int64_t value) {
  StringBuffer text;
  text.appendInt(value);
  LogData(key, text.view());
}

void LogBase::LogDataHex(const char* key, const unsigned char* bytes, size_t count) {
  XString digits;
  // A shortened value would be a lie.
  LogData(key, digits.appendHexDataNoWS(bytes, count) ? digits.view() : "(out of memory)");
}

}  // namespace velmora
