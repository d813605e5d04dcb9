#include "tools/bulk/interrupt.h"

#include <poll.h>

#include <atomic>
#include <csignal>

namespace velmora::tool {

namespace {

std::atomic<bool> interruptNoted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a handler of signals may set it");

// Of Ctrl-C, and of who ends services and machines.
constexpr int kSignals[] = {SIGINT, SIGTERM};

void setHandler(int signal, void (*handler)(int), int flags) noexcept {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

// Whoever starts a program in the background has it ignore the first of them.
bool isIgnored(int signal) noexcept {
  struct sigaction now = {};
  ::sigaction(signal, nullptr, &now);
  return now.sa_handler == SIG_IGN;
}

}  // namespace

Interruptible::Interruptible() noexcept {
  interruptNoted = false;
  for (const int each : kSignals) {
    if (isIgnored(each)) continue;
    const auto note = [](int) { interruptNoted = true; };
    setHandler(each, note, static_cast<int>(SA_RESETHAND | SA_RESTART));
  }
}

Interruptible::~Interruptible() {
  for (const int each : kSignals) {
    if (!isIgnored(each)) setHandler(each, SIG_DFL, 0);
  }
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
