#pragma once

#include <string>
#include <vector>

#include "bench/peers/peer.h"
#include "bench/timings.h"

namespace velmora::bench {

/// The libraries that this program was built with, OpenSSL first.
const std::vector<std::unique_ptr<Peer>>& peers();

/// Makes the work of a peer, whatever it needs to have ready included.
using MakeWork = std::function<Work(const Peer&)>;

/// Registers the benchmarks NAME/KEY OF THE PEER. Work is tried before, in a process of its own
/// with a limit of time: where the library lacks it or does not give the right answer, takes too
/// long or crashes, a word is noted instead of a figure.
/// `minTime` in seconds, of one repetition; 0 is what the program runs with.
void addPeers(Timings& timings, const std::string& name, const MakeWork& make, double minTime = 0);

}  // namespace velmora::bench
