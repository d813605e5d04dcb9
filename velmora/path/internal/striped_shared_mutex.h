#pragma once

// A lock that readers of several threads take without writing to one cache line.

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <thread>

namespace velmora {

/// A lock for many readers and few writers, as std::shared_mutex is one, for moments only: a reader
/// counts itself in the stripe of its thread, so that threads write to different cache lines, and a
/// writer waits until all stripes are empty, without sleeping. Readers who meet a writer queue up
/// behind him. Not recursive; locked and unlocked by the same thread.
class StripedSharedMutex {
 public:
  static constexpr size_t kStripes = 8;  // from nine threads on two share one
  static constexpr size_t kCacheLine = 64;

  /// That of the calling thread.
  static size_t stripe() noexcept {
    static std::atomic<size_t> threads = 0;
    thread_local const size_t own = threads.fetch_add(1, std::memory_order_relaxed) % kStripes;
    return own;
  }

  // Of a reader who counts himself and a writer who says that he writes, at least one sees the
  // other, because both do so before they look, in the one order of what is sequentially
  // consistent.
  void lock_shared() {
    std::atomic<size_t>& readers = m_stripes[stripe()].readers;
    readers.fetch_add(1);
    if (!m_isWritten.load()) return;
    readers.fetch_sub(1);
    const std::lock_guard behindWriters(m_writers);
    readers.fetch_add(1);
  }
  void unlock_shared() noexcept {
    m_stripes[stripe()].readers.fetch_sub(1, std::memory_order_release);
  }

  void lock() {
    m_writers.lock();
    m_isWritten.store(true);
    for (const Stripe& each : m_stripes) {
      while (each.readers.load() != 0) std::this_thread::yield();
    }
  }
  void unlock() noexcept {
    m_isWritten.store(false, std::memory_order_release);
    m_writers.unlock();
  }

 private:
  struct alignas(kCacheLine) Stripe {
    std::atomic<size_t> readers = 0;
  };

  std::array<Stripe, kStripes> m_stripes;
  alignas(kCacheLine) std::atomic<bool> m_isWritten = false;
  alignas(kCacheLine) std::mutex m_writers;
};

}  // namespace velmora
