#pragma once

// Standard output and standard error: buffered, in order, and never with half a record.

#include <string_view>

#include "tools/terminal/print.h"

namespace velmora::tool {

/// What the program ends with; the higher value wins over the lower one.
enum class ExitStatus {
  kDone = 0,
  kNo = 1,
  kUsage = 2,
  kCritical = 2,  // as what asks every few minutes expects it
  kUnreadable = 3,
  kInterrupted = 130
};

/// What a command answers: its output, and what that means for the exit status.
class Answers {
 public:
  /// What is to be written to standard output; append to it.
  StringBuffer& out() noexcept { return m_out; }
  void raise(ExitStatus status) noexcept {
    if (status > m_status) m_status = status;
  }
  ExitStatus status() const noexcept { return m_status; }

 private:
  StringBuffer m_out;
  ExitStatus m_status = ExitStatus::kDone;
};

/// Writes all of a text to a descriptor: 0, or the system's number of what that failed with.
int writeAll(int descriptor, std::string_view text);

/// Standard output, buffered, and standard error.
class Console : public Answers {
 public:
  Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// Ends one record: writes the output when a good deal of it has gathered.
  void endRecord();
  /// Writes what has gathered. False when standard output cannot be written to, now or before; the
  /// first failure has an error line, except that of a reader who went away.
  bool flush();

  /// Takes back what was gathered beyond the first `size` bytes, and the mark of memory that ran
  /// out on the way; writes those bytes.
  void takeBack(size_t size);

  /// Writes one line to standard error, behind the output so far: the program's name and the items
  /// of print(), all safe to print; or, where memory does not suffice for it, that it does not.
  template <class... Items>
  void error(const Items&... items) {
    StringBuffer line;
    print(line, "velmora-x509: ", items..., '\n');
    writeError(line);
  }

  /// Says in such a line why `what`, a file or the like, could not be read or written, both made
  /// safe to print, and raises the exit status to kUnreadable.
  void complain(std::string_view what, std::string_view reason);

  /// Whether standard output is a terminal that takes colours and NO_COLOR is not set.
  bool coloured() const noexcept { return m_coloured; }

  /// How many columns the terminal has that standard output is; 0 where it is none.
  size_t width() const noexcept { return m_width; }

  /// For a command that writes bytes as they are: throws UsageError where standard output is a
  /// terminal, which they could drive.
  void wantBinary() const;

 private:
  void write();
  void writeError(const StringBuffer& line);
  void outputFailed(const char* reason);

  bool m_coloured;
  size_t m_width;
  bool m_outputFailed = false;
};

}  // namespace velmora::tool
