#pragma once

// Ctrl-C that lets a run end in order.

namespace velmora::tool {

/// While one of these lives, the first SIGINT is only noted, so that what was begun is finished and
/// written; the second one ends the program as ever. One at a time.
class Interruptible {
 public:
  Interruptible() noexcept;
  ~Interruptible();
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;

  /// Whether the signal came. From any thread.
  static bool interrupted() noexcept;

  /// Waits until the descriptor can be read, or is at its end. False when the signal came first.
  static bool awaitInput(int descriptor) noexcept;
};

}  // namespace velmora::tool
