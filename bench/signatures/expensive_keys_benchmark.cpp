#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/param_build.h>

#include <string_view>

#include "bench/peers/peers.h"
#include "bench/signatures/signature_benchmarks.h"
#include "bench/signatures/signature_verifier.h"

namespace velmora::bench {

namespace {

using ParameterBuilder = std::unique_ptr<OSSL_PARAM_BLD, OpensslFree<OSSL_PARAM_BLD_free>>;
using Parameters = std::unique_ptr<OSSL_PARAM, OpensslFree<OSSL_PARAM_free>>;

using Trial = ExpensiveKeys::Trial;

struct NamedNumber {
  const char* name;
  const BIGNUM* value;
};

Key makeKeyOf(const char* type, std::initializer_list<NamedNumber> numbers) {
  const ParameterBuilder builder(OSSL_PARAM_BLD_new());
  for (const NamedNumber& number : numbers) {
    require(OSSL_PARAM_BLD_push_BN(builder.get(), number.name, number.value) > 0, "numbers");
  }
  const Parameters parameters(OSSL_PARAM_BLD_to_param(builder.get()));
  const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr));
  EVP_PKEY* key = nullptr;
  require(EVP_PKEY_fromdata_init(context.get()) > 0 &&
              EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.get()) > 0,
          "key of numbers");
  return Key(key);
}

// A random odd number of exactly that many bits.
Number randomOdd(int bits) {
  Number number(BN_new());
  require(BN_rand(number.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ODD) > 0, "random number");
  return number;
}

Number randomBelow(const BIGNUM* limit) {
  Number number(BN_new());
  require(BN_rand_range(number.get(), limit) > 0, "random number");
  return number;
}

// 2^bits - 1, the number of those bits that costs most.
Number allOnes(int bits) {
  Number number(BN_new());
  require(BN_set_bit(number.get(), bits) > 0 && BN_sub_word(number.get(), 1) > 0, "exponent");
  return number;
}

Number usualExponent() {
  Number number(BN_new());
  require(BN_set_word(number.get(), 65'537) > 0, "exponent");
  return number;
}

DataBuffer octetsOf(const BIGNUM* number, size_t size) {
  DataBuffer out;
  require(BN_bn2binpad(number, out.extend(size), static_cast<int>(size)) >= 0, "octets");
  return out;
}

DataBuffer randomDigest() {
  return octetsOf(randomOdd(256).get(), 32);
}

Trial rsaTrial(const char* name, const Subject& like, int bits, Number power) {
  const Number modulus = randomOdd(bits);
  const Key key = makeKeyOf(
      "RSA", {{OSSL_PKEY_PARAM_RSA_N, modulus.get()}, {OSSL_PKEY_PARAM_RSA_E, power.get()}});
  const auto size = static_cast<size_t>(bits + 7) / 8;
  return {name,
          false,
          like,
          spkiOf(key.get()),
          {{}, randomDigest(), octetsOf(randomBelow(modulus.get()).get(), size)}};
}

// Dss-Sig-Value of two numbers below an order of 256 bits with the top bit set.
DataBuffer dsaSignature() {
  DataBuffer out;
  const auto number = [&out](unsigned char fill) {
    require(out.append("\x02\x20", 2), "memory");
    for (int i = 0; i < 32; ++i) require(out.appendChar(fill), "memory");
  };
  require(out.append("\x30\x44", 2), "memory");
  number(0x75);
  number(0x53);
  return out;
}

Trial dsaTrial(const char* name, const Subject& like, int bits) {
  const Number p = randomOdd(bits);
  const Number q(BN_new());
  require(BN_generate_prime_ex(q.get(), 256, 0, nullptr, nullptr, nullptr) > 0, "prime");
  const Number g = randomBelow(p.get());
  const Number y = randomBelow(p.get());
  const Key key = makeKeyOf("DSA", {{OSSL_PKEY_PARAM_FFC_P, p.get()},
                                    {OSSL_PKEY_PARAM_FFC_Q, q.get()},
                                    {OSSL_PKEY_PARAM_FFC_G, g.get()},
                                    {OSSL_PKEY_PARAM_PUB_KEY, y.get()}});
  return {name, false, like, spkiOf(key.get()), {{}, randomDigest(), dsaSignature()}};
}

const Subject& subjectOf(const std::deque<Subject>& subjects, std::string_view name) {
  for (const Subject& subject : subjects) {
    if (subject.scheme.name == name) return subject;
  }
  require(false, "scheme");
  return subjects.front();
}

DataBuffer copyOf(const DataBuffer& bytes) {
  DataBuffer out;
  require(out.append(bytes), "memory");
  return out;
}

Trial honestTrial(const char* name, const Subject& like) {
  const SignedMessage& made = like.signedMessage;
  return {name,
          true,
          like,
          copyOf(like.spki),
          {copyOf(made.message), copyOf(made.digest), copyOf(made.signature)}};
}

Trial curveTrial(const char* name, const Subject& like, const char* curve) {
  const Scheme scheme{"", "EC", 0, curve, like.scheme.hashBits, false};
  const Key key = makeKey(scheme);
  return {name, true, like, spkiOf(key.get()), signMessage(scheme, key.get())};
}

// Whether the answer is as it has to be; a key that is refused verifies nothing.
bool verifyVelmora(const Trial& trial) {
  VelmoraVerifier verifier(trial.like.scheme, trial.signedMessage);
  return (verifier.load(trial.spki) && verifier.verify()) == trial.isHonest;
}

Work verifierOf(const Peer& peer, const Scheme& scheme, const DataBuffer& spki,
                const SignedMessage& made) {
  return peer.verifier(scheme, spki.span(), made.view());
}

// Empty for a peer that does not have the scheme, and could only refuse.
Work peerWork(const Peer& peer, const Trial& trial) {
  const Subject& like = trial.like;
  if (!verifierOf(peer, like.scheme, like.spki, like.signedMessage)) return {};
  return [&peer, &trial] {
    const Work work = verifierOf(peer, trial.like.scheme, trial.spki, trial.signedMessage);
    return (work && work()) == trial.isHonest;
  };
}

bool isAccepted(const Trial& trial) {
  return VelmoraVerifier(trial.like.scheme, trial.signedMessage).load(trial.spki);
}

}  // namespace

ExpensiveKeys::ExpensiveKeys(const std::deque<Subject>& subjects) {
  const Subject& rsa = subjectOf(subjects, "rsa2048");
  const Subject& dsa = subjectOf(subjects, "dsa2048");
  const Subject& p521 = subjectOf(subjects, "p521");
  m_trials.push_back(honestTrial("RSA 2048, e = 65537 (usual)", rsa));
  m_trials.push_back(rsaTrial("RSA 2048, e = 2^64 - 1", rsa, 2048, allOnes(64)));
  m_trials.push_back(rsaTrial("RSA 2048, e of 65 bits", rsa, 2048, allOnes(65)));
  m_trials.push_back(rsaTrial("RSA 2048, e of 2047 bits", rsa, 2048, allOnes(2047)));
  m_trials.push_back(rsaTrial("RSA 16384, e = 65537", rsa, 16'384, usualExponent()));
  m_trials.push_back(rsaTrial("RSA 16384, e = 2^64 - 1", rsa, 16'384, allOnes(64)));
  m_trials.push_back(rsaTrial("RSA 16385, e = 65537", rsa, 16'385, usualExponent()));
  m_trials.push_back(rsaTrial("RSA 1000000, e of 999999 bits", rsa, 1'000'000, allOnes(999'999)));
  m_trials.push_back(honestTrial("DSA 2048 (usual)", dsa));
  m_trials.push_back(dsaTrial("DSA 8192", dsa, 8192));
  m_trials.push_back(dsaTrial("DSA 8193", dsa, 8193));
  m_trials.push_back(dsaTrial("DSA 1000000", dsa, 1'000'000));
  m_trials.push_back(honestTrial("ECDSA P-521", p521));
  m_trials.push_back(curveTrial("ECDSA brainpoolP512r1", p521, "brainpoolP512r1"));
}

void ExpensiveKeys::registerAll(Timings& timings) const {
  for (const Trial& trial : m_trials) {
    const std::string name = std::string("expensive/") + trial.name;
    benchmark::RegisterBenchmark((name + "/velmora").c_str(), [&trial](benchmark::State& state) {
      for (auto _ : state) require(verifyVelmora(trial), "answer");
    });
    addPeers(timings, name, [&trial](const Peer& peer) { return peerWork(peer, trial); });
    if (!isAccepted(trial)) timings.note(name, "refused");
  }
}

}  // namespace velmora::bench
