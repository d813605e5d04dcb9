// Tells which certificates of a file have a pinned key: by digests, and by the text of a pin set.
#include <iostream>

#include "velmora/reading/crossing.h"
#include "velmora/reading/reading.h"
#include "velmora/support/log/log_base.h"

using namespace velmora;

int main(int argc, char** argv) {
  const auto kept = readCertificateFile(argc > 1 ? argv[1] : "").certificates;
  const auto sent = readCertificateFile(argc > 2 ? argv[2] : "").certificates;
  XString pinSet(argc > 3 ? argv[3] : "");
  if (kept.empty() || sent.empty()) return 3;

  const auto pin = kept.front().spkiPin<Hash::sha256>();  // 32 octets: keep these, or the text
  LogNull log;
  for (const Certificate& each : sent) {
    const RefOwner<VelmoraX509> object = objectOf(each);
    const bool isPinned = each.spkiPin<Hash::sha256>() == pin;
    const bool isInSet = object && object->matchesPinSet(pinSet, log);
    std::cout << (isPinned ? "the kept key, " : "another key, ")
              << (isInSet ? "in the set\n" : "not in the set\n");
  }
  return 0;
}
