#pragma once

// The lock of shared objects.

#include <mutex>

namespace velmora {

/// Re-entrant lock: the thread that holds it may take it again. Objects that are shared between
/// threads derive from it and are passed to CritSecExitor as their own lock.
class VelmoraCritSec {
 public:
  VelmoraCritSec() = default;
  VelmoraCritSec(const VelmoraCritSec&) = delete;
  VelmoraCritSec& operator=(const VelmoraCritSec&) = delete;

  /// Takes the lock, and waits for it while another thread holds it.
  void enterCriticalSection() { m_mutex.lock(); }
  /// Gives it up as often as it was taken, for other threads.
  void leaveCriticalSection() { m_mutex.unlock(); }

 private:
  std::recursive_mutex m_mutex;
};

/// Holds a lock from its construction to the end of its scope. A null lock is left alone.
class CritSecExitor {
 public:
  /// Takes the lock, which outlives this object.
  explicit CritSecExitor(VelmoraCritSec* lock) : m_lock(lock) {
    if (m_lock != nullptr) m_lock->enterCriticalSection();
  }
  ~CritSecExitor() {
    if (m_lock != nullptr) m_lock->leaveCriticalSection();
  }
  CritSecExitor(const CritSecExitor&) = delete;
  CritSecExitor& operator=(const CritSecExitor&) = delete;

 private:
  VelmoraCritSec* m_lock;
};

}  // namespace velmora
