#include "bench/peers/peers.h"

#include <dlfcn.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace velmora::bench {

// VELMORA_PEERS has PEER(NAME) for each of the peers' files that is compiled.
#define PEER(name) std::unique_ptr<Peer> make##name();
VELMORA_PEERS
#undef PEER

namespace {

constexpr long kLimit = 1;  // second of CPU time, for one piece of work
constexpr char kTooLong[] = "over 1 s";

enum Outcome { kRight, kNone };

// Empty when the work, which is made and done once in a process of its own, gives the right answer.
std::string troubleOf(const Peer& peer, const MakeWork& make) {
  const pid_t child = fork();
  if (child == 0) {
    const itimerval limit = {{0, 0}, {kLimit, 0}};
    setitimer(ITIMER_PROF, &limit, nullptr);
    const Work work = make(peer);
    _exit(work && work() ? kRight : kNone);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) return WTERMSIG(status) == SIGPROF ? kTooLong : "crashes";
  return WEXITSTATUS(status) == kRight ? "" : "none";
}

// The module finds what it has itself before what the program has, so that two libraries with the
// same names of functions do not meet.
[[maybe_unused]] std::unique_ptr<Peer> loadPeer(const char* file) {
  void* const module = dlopen(file, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
  const auto make =
      module == nullptr ? nullptr : reinterpret_cast<Peer* (*)()>(dlsym(module, "makePeer"));
  if (make == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(1);
  }
  return std::unique_ptr<Peer>(make());
}

}  // namespace

const std::vector<std::unique_ptr<Peer>>& peers() {
  static const std::vector<std::unique_ptr<Peer>> all = [] {
    std::vector<std::unique_ptr<Peer>> made;
#define PEER(name) made.push_back(make##name());
    VELMORA_PEERS
#undef PEER
#ifdef VELMORA_PEER_MODULE
    made.push_back(loadPeer(VELMORA_PEER_MODULE));
#endif
    return made;
  }();
  return all;
}

void addPeers(Timings& timings, const std::string& name, const MakeWork& make, double minTime) {
  for (const std::unique_ptr<Peer>& peer : peers()) {
    const std::string full = name + "/" + peer->who.key;
    const std::string trouble = troubleOf(*peer, make);
    if (!trouble.empty()) {
      timings.note(full, trouble);
      continue;
    }
    const auto registered =
        benchmark::RegisterBenchmark(full.c_str(), [&peer, make](benchmark::State& state) {
          const Work work = make(*peer);
          for (auto _ : state) {
            if (!work()) state.SkipWithError("a wrong answer");
          }
        });
    if (minTime > 0) registered->MinTime(minTime);
  }
}

}  // namespace velmora::bench
