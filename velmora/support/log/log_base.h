#pragma once

// What operations report on, and the log that hears nothing.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"
#include "velmora/support/text/x_string.h"

namespace velmora {

/// Where an operation reports what it did and why it failed: nested contexts, error lines,
/// information lines and data items. A sink derives from it; its operations must not throw. Not
/// safe for concurrent use: each thread brings its own.
class VELMORA_API LogBase {
 public:
  LogBase() = default;
  virtual ~LogBase() = default;
  LogBase(const LogBase&) = delete;
  LogBase& operator=(const LogBase&) = delete;

  /// One error line.
  virtual void LogError(const char* message) = 0;
  /// One information line.
  virtual void LogInfo(const char* message) = 0;
  /// One data item: a key and its text, which may hold any character.
  virtual void LogData(const char* key, std::string_view value) = 0;
  /// Opens a context; what follows belongs to it.
  virtual void enterContext(const char* name) = 0;
  /// Closes the context that was opened last.
  virtual void leaveContext() = 0;

  /// A data item whose text is a number in decimal.
  void LogDataLong(const char* key, int64_t value);
  /// A data item from a StringBuffer.
  void LogDataSb(const char* key, const StringBuffer& value) { LogData(key, value.view()); }
  /// A data item from an XString, in UTF-8.
  void LogDataX(const char* key, const XString& value) { LogData(key, value.view()); }
  /// The bytes as upper-case hexadecimal digits.
  void LogDataHex(const char* key, const unsigned char* bytes, size_t count);

  /// Progress and success lines are written only when set.
  bool m_verbose = false;
  /// The details of pin-set matching are written only when set.
  bool m_detail = false;
  /// Option keywords of the application, each tested as a substring in any letter case:
  /// "DN_Lowercase", "DN_NoSpaceAfterComma", "OrgID_OID_Hex".
  StringBuffer m_optionKeywords;
};

/// Opens a named context on a log for the length of a scope.
class LogContextExitor {
 public:
  /// Opens the context; the log outlives this object.
  LogContextExitor(LogBase& log, const char* name) : m_log(log) { m_log.enterContext(name); }
  ~LogContextExitor() { m_log.leaveContext(); }
  LogContextExitor(const LogContextExitor&) = delete;
  LogContextExitor& operator=(const LogContextExitor&) = delete;

 private:
  LogBase& m_log;
};

/// A log that discards everything.
class VELMORA_API LogNull final : public LogBase {
 public:
  void LogError(const char*) override {}
  void LogInfo(const char*) override {}
  void LogData(const char*, std::string_view) override {}
  void enterContext(const char*) override {}
  void leaveContext() override {}
};

}  // namespace velmora
