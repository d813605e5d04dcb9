#pragma once

#include <gtest/gtest.h>

#include <string>

#include "velmora/support/log/log_sinks.h"
#include "velmora/support/xml/cls_xml.h"

namespace velmora::test {

/// A handle on the root of the document that a text holds.
inline ClsXml* load(std::string_view xml) {
  ClsXml* handle = ClsXml::createNewCls();
  LogText log;
  EXPECT_TRUE(handle->loadXml(xml, true, log)) << xml << ": " << log.text().view();
  return handle;
}

inline std::string textOf(const ClsXml& handle) {
  StringBuffer out;
  LogNull log;
  EXPECT_TRUE(handle.getXml(true, out, log));
  return std::string(out.view());
}

}  // namespace velmora::test
