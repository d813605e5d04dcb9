#pragma once

// Whether a "no" of VelmoraX509 is one.

#include <new>
#include <string_view>

#include "velmora/support/core/out_of_memory.h"
#include "velmora/support/log/log_base.h"

namespace velmora::tool {

/// A log that hears of nothing but memory that ran out.
class MemoryLog final : public LogBase {
 public:
  /// Throws std::bad_alloc when that was said: what was answered then says nothing.
  void wantNone() const {
    if (m_ranOut) throw std::bad_alloc();
  }

  void LogError(const char* message) override {
    m_ranOut = m_ranOut || std::string_view(message) == kOutOfMemory;
  }
  void LogInfo(const char*) override {}
  void LogData(const char*, std::string_view) override {}
  void enterContext(const char*) override {}
  void leaveContext() override {}

 private:
  bool m_ranOut = false;
};

}  // namespace velmora::tool
