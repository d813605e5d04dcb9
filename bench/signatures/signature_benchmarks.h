#pragma once

#include <deque>

#include "bench/signatures/signed_material.h"
#include "bench/timings.h"

namespace velmora::bench {

/// One scheme with a key of it, and what that key signed.
struct Subject {
  const Scheme& scheme;
  Key key;
  DataBuffer spki;
  SignedMessage signedMessage;
  DataBuffer issuer;  // certificates in DER, both with the key
  DataBuffer leaf;
};
std::deque<Subject> makeSubjects();

// What is registered refers to the subjects, which outlive the run.

/// One signature, with a key that is ready, and with what is kept of keys that are asked again.
void registerPreparedKeys(const std::deque<Subject>& subjects, Timings& timings);

/// One certificate, from the DER of it and its issuer to the answer.
void registerCertificates(const std::deque<Subject>& subjects, Timings& timings);

/// Keys that are as expensive as possible, and keys beyond the limits, beside usual ones.
class ExpensiveKeys {
 public:
  /// A key of random numbers, and a signature that costs as much as one can: it is found wrong only
  /// after the last multiplication, if the key is accepted at all.
  struct Trial {
    const char* name;
    bool isHonest;
    const Subject& like;  // has the same scheme
    DataBuffer spki;
    SignedMessage signedMessage;
  };

  explicit ExpensiveKeys(const std::deque<Subject>& subjects);
  void registerAll(Timings& timings) const;

 private:
  std::deque<Trial> m_trials;
};

/// Many certificates with few issuers, on one thread and on two: certificates a second.
void compareThreads(Timings& timings);

}  // namespace velmora::bench
