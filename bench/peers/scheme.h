#pragma once

#include <cstddef>

namespace velmora::bench {

/// How something is signed. Salts of RSASSA-PSS are as long as the digest.
struct Scheme {
  const char* name;
  const char* keyType;  // "RSA", "EC", "DSA" or "ED25519"
  size_t bits;          // of an RSA modulus or a DSA prime
  const char* curve;    // of an EC key
  size_t hashBits;      // of SHA-2; 0: the scheme has its own
  bool pss;
};

}  // namespace velmora::bench
