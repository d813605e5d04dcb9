#pragma once

#include "tests/common/each_path.h"
#include "tests/common/key_value_file.h"
#include "velmora/support/key/vm_public_key.h"
#include "velmora/support/log/log_sinks.h"

namespace velmora::test {

inline std::string keyDataFile(const std::string& name) {
  return std::string(VELMORA_SOURCE_DIR "/tests/data/key/") + name;
}

inline DataBuffer fromHex(const std::string& digits) {
  DataBuffer bytes;
  EXPECT_TRUE(bytes.appendEncoded(digits, "hex")) << digits;
  return bytes;
}

inline std::string toHex(const DataBuffer& bytes) {
  StringBuffer digits;
  bytes.encodeDB("hexlower", digits);
  return std::string(digits.view());
}

inline bool logged(const LogText& log, const std::string& message) {
  return std::string(log.text().view()).find("ERROR: " + message + "\n") != std::string::npos;
}

}  // namespace velmora::test
