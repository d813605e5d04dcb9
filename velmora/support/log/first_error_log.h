#pragma once

// A log for who wants one reason.

#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"

namespace velmora {

/// A log that keeps the first error line since it was cleared, the one nearest to the cause, with
/// the data item that came with it, which says where, and discards the rest.
class VELMORA_API FirstErrorLog final : public LogBase {
 public:
  bool empty() const noexcept { return m_error.isEmpty(); }
  std::string_view error() const noexcept { return m_error.view(); }
  /// The key and the value of the error's data item; empty when it had none.
  std::string_view place() const noexcept { return m_place.view(); }
  /// Whether memory did not suffice for all of the two.
  bool failed() const noexcept { return m_error.failed() || m_place.failed(); }
  void clear() noexcept {
    m_error.weakClear();
    m_place.weakClear();
  }

  void LogError(const char* message) override {
    if (m_error.isEmpty()) m_error.append(message);
  }
  void LogInfo(const char*) override {}
  void LogData(const char* key, std::string_view value) override {
    if (m_error.isEmpty() || !m_place.isEmpty()) return;
    m_place.append3(key, " ", "");
    m_place.append(value);
  }
  void enterContext(const char*) override {}
  void leaveContext() override {}

 private:
  StringBuffer m_error;
  StringBuffer m_place;
};

}  // namespace velmora
