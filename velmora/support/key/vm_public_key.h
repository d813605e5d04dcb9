#pragma once

// A public key of any algorithm, loaded from its usual encodings.

#include <span>
#include <string_view>
#include <variant>

#include "velmora/support/core/export.h"
#include "velmora/support/key/dsa.h"
#include "velmora/support/key/ecdsa.h"
#include "velmora/support/key/ed25519.h"
#include "velmora/support/key/rsa.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora {

/// A public key of any kind that signatures are verified with; empty until one is loaded. About
/// 10 KiB, so that a key needs next to nothing from the heap. Not safe for concurrent loading; a
/// loaded key may be read by any thread.
class VELMORA_API _vmPublicKey {
 public:
  /// The path is how signatures are computed; a test chooses it.
  explicit _vmPublicKey(vartime::ArithmeticPath path = vartime::bestArithmeticPath())
      : m_path(path) {}
  _vmPublicKey(const _vmPublicKey&) = delete;
  _vmPublicKey& operator=(const _vmPublicKey&) = delete;

  /// Replaces the key by what the octets hold: the DER of a SubjectPublicKeyInfo (RFC 5280 §4.1) of
  /// an RSA (id-RSASSA-PSS too), DSA, EC or Ed25519 key, that of a PKCS #1 RSAPublicKey, or, when
  /// they are exactly 32, an Ed25519 key. False, with the reason logged and the key empty, for
  /// anything else: what is not DER to the letter, DSA keys without parameters, curves that are
  /// unknown or given by explicit parameters, and what the classes of the keys refuse.
  bool loadAnyDer(const DataBuffer& der, LogBase& log);

  /// Replaces the key by 32 octets of an Ed25519 key. It is empty when they are not a point, or one
  /// of small order. The second argument, to be passed as null, is reserved and has no effect.
  void loadEd25519Public(const unsigned char* key32, const char*);

  /// Whether no key is loaded.
  bool isEmpty() const noexcept { return std::holds_alternative<std::monostate>(m_key); }
  /// Whether it is an RSA key.
  bool isRsa() const noexcept { return std::holds_alternative<RsaKeyData>(m_key); }
  /// Whether it is a DSA key.
  bool isDsa() const noexcept { return std::holds_alternative<DsaKeyData>(m_key); }
  /// Whether it is an EC key on a named curve.
  bool isEcc() const noexcept { return std::holds_alternative<EccKeyData>(m_key); }
  /// Whether it is an Ed25519 key.
  bool isEd25519() const noexcept { return std::holds_alternative<Ed25519KeyData>(m_key); }

  /// The key, still owned by this object; null when it is of another kind.
  RsaKeyData* getRsaKey() noexcept { return std::get_if<RsaKeyData>(&m_key); }
  /// Likewise.
  DsaKeyData* getDsaKey() noexcept { return std::get_if<DsaKeyData>(&m_key); }
  /// Likewise.
  EccKeyData* getEccKey() noexcept { return std::get_if<EccKeyData>(&m_key); }
  /// Likewise.
  Ed25519KeyData* getEd25519Key() noexcept { return std::get_if<Ed25519KeyData>(&m_key); }

  /// Appends the 64-bit key identifier of RFC 5280 §4.2.1.2 method 2: the bits 0100 and the last 60
  /// of the SHA-1 of the key's BIT STRING in a SubjectPublicKeyInfo, as 16 upper-case hexadecimal
  /// digits. The octets are those that were loaded: a compressed and an uncompressed point have
  /// different identifiers. False when no key is loaded or memory ran out.
  bool getVelmoraKeyId64(StringBuffer& out, LogBase& log) const;

  /// For people: "RSA", "DSA", "EC", "Ed25519"; empty when no key is loaded.
  std::string_view typeName() const noexcept;
  /// The bits of the modulus, of the prime p, or of the field; 0 when no key is loaded.
  unsigned bitLength() const noexcept;
  /// The name of the curve of an EC key; empty for others.
  std::string_view curveName() const noexcept;

 private:
  void clear() noexcept;  // NOLINT(bugprone-exception-escape): as above its definition
  bool loadInfo(std::span<const unsigned char> der, LogBase& log);
  bool loadRsa(std::span<const unsigned char> pkcs1, LogBase& log);
  bool loadDsa(std::span<const unsigned char> parameters, std::span<const unsigned char> bits,
               LogBase& log);
  bool loadEcc(std::span<const unsigned char> parameters, std::span<const unsigned char> bits,
               LogBase& log);
  bool loadEd25519(std::span<const unsigned char> bits, LogBase& log);
  bool loadByOid(std::span<const unsigned char> oid, std::span<const unsigned char> parameters,
                 std::span<const unsigned char> bits, LogBase& log);

  vartime::ArithmeticPath m_path;
  std::variant<std::monostate, RsaKeyData, DsaKeyData, EccKeyData, Ed25519KeyData> m_key;
  DataBuffer m_keyBits;  // the octets of the BIT STRING
};

}  // namespace velmora
