#pragma once

#include <string_view>

#include "support/log/log_base.h"

namespace velmora {

/// A log that keeps the first error line since it was cleared, the one nearest to the cause, and
/// discards the rest.
class FirstErrorLog final : public LogBase {
 public:
  bool empty() const noexcept { return m_error.isEmpty(); }
  std::string_view error() const noexcept { return m_error.view(); }
  void clear() noexcept { m_error.weakClear(); }

  void LogError(const char* message) override {
    if (m_error.isEmpty()) m_error.append(message);
  }
  void LogInfo(const char*) override {}
  void LogData(const char*, std::string_view) override {}
  void enterContext(const char*) override {}
  void leaveContext() override {}

 private:
  StringBuffer m_error;
};

}  // namespace velmora
