#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

#include "support/log/log_base.h"
#include "support/xml/cls_xml.h"

namespace velmora::test {

/// A log that keeps the last error line and the last data item.
class LastErrorLog final : public LogBase {
 public:
  void LogError(const char* message) override {
    error = message;
    ++errors;
  }
  void LogInfo(const char*) override {}
  void LogData(const char* key, std::string_view value) override {
    data = {std::string(key), std::string(value)};
  }
  void enterContext(const char*) override {}
  void leaveContext() override {}

  int errors = 0;
  std::string error;
  std::pair<std::string, std::string> data;
};

/// A handle on the root of the document that a text holds.
inline ClsXml* load(std::string_view xml) {
  ClsXml* handle = ClsXml::createNewCls();
  LastErrorLog log;
  EXPECT_TRUE(handle->loadXml(xml, true, log)) << xml << ": " << log.error;
  return handle;
}

inline std::string textOf(const ClsXml& handle) {
  StringBuffer out;
  LogNull log;
  EXPECT_TRUE(handle.getXml(true, out, log));
  return std::string(out.view());
}

}  // namespace velmora::test
