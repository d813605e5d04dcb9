#pragma once

// Work on the batches of a stream by several threads, with what comes out in the order of what went
// in.

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::tool {

/// Reads batches one at a time, treats some at once, and writes each behind the one that was read
/// before it. Few are held at a time, however many there are.
template <class Batch>
class InOrder {
 public:
  struct Steps {
    /// Fills in an empty batch and says how many octets it holds in memory; 0 at the end. Never
    /// called by two threads at once.
    std::function<size_t(Batch& batch)> read;
    /// Treats a batch. Called by each thread with its number, from 0.
    std::function<void(Batch& batch, size_t worker)> treat;
    /// False when there is no use in going on. Never called by two threads at once.
    std::function<bool(Batch& batch)> write;
  };

  /// Returns when all is written. Uses the calling thread and `jobs` - 1 more. What a step throws
  /// ends the work and is thrown here.
  static void run(size_t jobs, const Steps& steps) {
    InOrder work(jobs, steps);
    std::vector<std::thread> others;
    try {
      for (size_t worker = 1; worker < jobs; ++worker) {
        others.emplace_back([&work, worker] { work.takeBatches(worker); });
      }
    } catch (const std::exception&) {
      // Fewer threads do the same work.
    }
    work.takeBatches(0);
    for (std::thread& each : others) each.join();
    if (work.m_thrown) std::rethrow_exception(work.m_thrown);
  }

 private:
  using Owned = std::unique_ptr<Batch>;

  // What may be read ahead of what is written: batches for each thread, and octets in all.
  static constexpr size_t kAhead = 3;
  static constexpr size_t kOctetsAhead = size_t{8} << 20;

  InOrder(size_t jobs, const Steps& steps) : m_most(kAhead * jobs), m_steps(steps) {}

  struct Numbered {
    Owned batch;
    size_t number = 0;
    size_t octets = 0;
  };

  void takeBatches(size_t worker) noexcept {
    try {
      for (Numbered next = read(); next.batch; next = read()) {
        m_steps.treat(*next.batch, worker);
        write(std::move(next));
      }
    } catch (...) {
      const std::lock_guard lock(m_lock);
      if (!m_thrown) m_thrown = std::current_exception();
      m_ended = true;
      m_hasRoom.notify_all();
    }
  }

  // Nothing at the end.
  Numbered read() {
    const std::lock_guard reading(m_reading);
    std::unique_lock lock(m_lock);
    m_hasRoom.wait(lock, [&] {
      const size_t held = m_read - m_written;
      return m_ended || held == 0 || (held < m_most && m_octets < kOctetsAhead);
    });
    if (m_ended) return {};
    lock.unlock();
    Numbered next{std::make_unique<Batch>()};
    next.octets = m_steps.read(*next.batch);
    lock.lock();
    m_ended = m_ended || next.octets == 0;
    if (next.octets == 0) return {};
    next.number = m_read++;
    m_octets += next.octets;
    return next;
  }

  // Writes it and those that waited for it, or leaves it to whoever is writing.
  void write(Numbered treated) {
    std::unique_lock lock(m_lock);
    m_treated.emplace(treated.number, std::move(treated));
    if (m_isWriting) return;
    m_isWriting = true;
    while (!m_treated.empty() && m_treated.begin()->first == m_written) {
      const Numbered next = std::move(m_treated.extract(m_treated.begin()).mapped());
      lock.unlock();
      const bool goesOn = m_steps.write(*next.batch);
      lock.lock();
      ++m_written;
      m_octets -= next.octets;
      m_ended = m_ended || !goesOn;
      m_hasRoom.notify_all();
    }
    m_isWriting = false;
  }

  const size_t m_most;
  const Steps& m_steps;
  std::mutex m_reading;
  std::mutex m_lock;  // of all below
  std::condition_variable m_hasRoom;
  std::map<size_t, Numbered> m_treated;  // by their numbers
  size_t m_read = 0;
  size_t m_written = 0;
  size_t m_octets = 0;  // of the batches between the two
  bool m_isWriting = false;
  bool m_ended = false;
  std::exception_ptr m_thrown;
};

}  // namespace velmora::tool
