#include "tools/bulk/interrupt.h"

#include <poll.h>

#include <atomic>
#include <csignal>

namespace velmora::tool {

namespace {

std::atomic<bool> interruptNoted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a handler of signals may set it");

void setHandler(void (*handler)(int), int flags) noexcept {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  ::sigaction(SIGINT, &action, nullptr);
}

}  // namespace

Interruptible::Interruptible() noexcept {
  interruptNoted = false;
  struct sigaction before = {};
  ::sigaction(SIGINT, nullptr, &before);
  // Whoever starts a program in the background has it ignore the signal.
  if (before.sa_handler == SIG_IGN) return;
  setHandler([](int) { interruptNoted = true; }, static_cast<int>(SA_RESETHAND | SA_RESTART));
}

Interruptible::~Interruptible() {
  struct sigaction now = {};
  ::sigaction(SIGINT, nullptr, &now);
  if (now.sa_handler != SIG_IGN) setHandler(SIG_DFL, 0);
}

bool Interruptible::interrupted() noexcept {
  return interruptNoted;
}

// Another thread may be the one that the signal reaches, so nobody waits for long.
bool Interruptible::awaitInput(int descriptor) noexcept {
  constexpr int kMilliseconds = 100;
  pollfd input = {descriptor, POLLIN, 0};
  while (!interrupted()) {
    const int ready = ::poll(&input, 1, kMilliseconds);
    // What poll cannot tell, reading does.
    if (ready > 0 || (ready < 0 && input.revents != 0)) return true;
  }
  return false;
}

}  // namespace velmora::tool
