#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>

#include "bench/peers/scheme.h"

namespace velmora::bench {

using Octets = std::span<const unsigned char>;

/// What is measured: each call does the same again and says whether the answer was the right one.
using Work = std::function<bool()>;

/// A message, its digest (empty where the scheme hashes by itself) and its signature.
struct Signed {
  Octets message, digest, signature;
};

/// A chain in DER, and the host that its leaf has to be a server of.
struct ChainOctets {
  Octets leaf, intermediate, root;
  std::string host;
};

/// Reads one certificate after the other, keeping from one to the next what may be kept. Everything
/// answers false where the library lacks it, or when it fails.
class Reader {
 public:
  virtual ~Reader() = default;

  virtual bool load(Octets der) = 0;
  virtual void unload() = 0;

  /// As one line of text.
  virtual bool readSubject() = 0;
  /// Each as a text; true also when there are none.
  virtual bool readAlternativeNames() = 0;
  /// What VelmoraReader reads under these names, or what comes nearest.
  virtual bool readFields() = 0;
  virtual bool readRest() = 0;
};

/// A library that could be taken instead of this one, asked in the cheapest way that it documents.
/// What it lacks answers false, or is an empty Work. Octets that are handed in outlive what is made
/// of them.
class Peer {
 public:
  struct Identity {
    std::string key;  // the last part of the names of its benchmarks
    std::string title, version;
  };

  explicit Peer(Identity identity) : who(std::move(identity)) {}
  virtual ~Peer() = default;

  const Identity who;

  /// The verification of one signature, with the DER of a SubjectPublicKeyInfo; what can be made
  /// ready before is made ready here.
  virtual Work verifier(const Scheme& scheme, Octets spki, const Signed& made) const = 0;

  /// Loads two certificates from DER and verifies the signature of the first with the key of the
  /// second; nothing else is judged where that can be helped.
  virtual bool verifyCertificate(const Scheme& scheme, Octets leaf, Octets issuer) const = 0;

  /// The validation of a chain, whose certificates are loaded and whose root is trusted: dates,
  /// signatures, host and purpose.
  virtual Work chainVerifier(const ChainOctets& chain) const = 0;

  virtual std::unique_ptr<Reader> reader() const = 0;

  /// Loads every certificate of a PKCS #7 bundle, of which there are so many.
  virtual bool loadBundle(Octets, size_t) const { return false; }
};

}  // namespace velmora::bench
