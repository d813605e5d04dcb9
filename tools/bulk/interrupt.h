#pragma once

// Ctrl-C and SIGTERM that let a run end in order.

namespace velmora::tool {

/// While one of these lives, the first SIGINT and the first SIGTERM are only noted, so that what
/// was begun is finished and written; the second one ends the program as ever. One at a time.
class Interruptible {
 public:
  Interruptible() noexcept;
  ~Interruptible();
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;

  /// Whether such a signal came. From any thread.
  static bool interrupted() noexcept;

  /// Waits until the descriptor can be read, or is at its end. False when one came first.
  static bool awaitInput(int descriptor) noexcept;
};

}  // namespace velmora::tool
