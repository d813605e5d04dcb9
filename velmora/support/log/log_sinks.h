#pragma once

// Logs for people.

#include <iosfwd>
#include <string_view>

#include "velmora/support/core/export.h"
#include "velmora/support/log/log_base.h"

namespace velmora {

/// What the sinks for people share: one line for each event, indented by two spaces for each open
/// context. "name:" opens a context, "ERROR: message" and "message" are the lines, "key: value" the
/// data items. Every text goes through appendPrintable, so that no value can forge a line or drive
/// a terminal.
class VELMORA_API LogLines : public LogBase {
 public:
  void LogError(const char* message) final;
  void LogInfo(const char* message) final;
  void LogData(const char* key, std::string_view value) final;
  void enterContext(const char* name) final;
  void leaveContext() final;

 protected:
  /// One complete line, without its newline.
  virtual void writeLine(std::string_view line) = 0;

 private:
  void emit(std::string_view first, std::string_view second, std::string_view third);

  int m_depth = 0;
};

/// Keeps the lines as one text, each closed by a newline.
class VELMORA_API LogText final : public LogLines {
 public:
  /// The lines so far.
  const StringBuffer& text() const noexcept { return m_text; }
  /// Forgets them.
  void clear() noexcept { m_text.clear(); }

 protected:
  void writeLine(std::string_view line) override;

 private:
  StringBuffer m_text;
};

/// Writes each line, closed by a newline, to a stream that outlives the log.
class VELMORA_API LogStream final : public LogLines {
 public:
  /// Writes to `out`.
  explicit LogStream(std::ostream& out) : m_out(out) {}

 protected:
  void writeLine(std::string_view line) override;

 private:
  std::ostream& m_out;
};

}  // namespace velmora
