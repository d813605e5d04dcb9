#pragma once

// How far a long run has come, for whoever waits for it.

#include <chrono>
#include <cstdint>
#include <optional>

#include "tools/terminal/console.h"
#include "tools/terminal/options.h"

namespace velmora::tool {

/// Counts what is done and tells of it on standard error: on a terminal in one line that is written
/// again and again, else in a line now and then, and at the end in a summary. Not safe for
/// concurrent use.
class Progress {
 public:
  /// Tells nothing with "--quiet", and without "--progress" where standard error is no terminal or
  /// standard output is one too. `size` is that of all input in octets, where it is known.
  Progress(const Arguments& arguments, Console& console, std::optional<uint64_t> size);

  /// Adds what was done, and tells when it is time to.
  void add(uint64_t certificates, uint64_t errors, uint64_t octets);

  /// Takes the line away, so that another one can be written.
  void clear();

  /// Clears, and tells the sum.
  void finish();

 private:
  using Clock = std::chrono::steady_clock;

  double secondsUntil(Clock::time_point now) const noexcept;
  void append(Clock::time_point now, StringBuffer& line) const;
  void tell(Clock::time_point now);

  Console& m_console;
  bool m_tells;
  bool m_rewrites;
  std::optional<uint64_t> m_size;
  Clock::time_point m_start = Clock::now();
  Clock::time_point m_told = m_start;
  bool m_isShown = false;
  uint64_t m_certificates = 0;
  uint64_t m_errors = 0;
  uint64_t m_octets = 0;
};

}  // namespace velmora::tool
