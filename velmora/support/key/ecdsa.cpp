#include "velmora/support/key/ecdsa.h"

#include "velmora/support/asn1/oids.h"
#include "velmora/support/key/internal/signature_pair.h"
#include "velmora/support/log/refuse.h"

namespace velmora {
namespace {

// The OID, unless it is longer than that of any curve.
void logCurve(std::span<const unsigned char> oid, LogBase& log) {
  constexpr size_t kLongest = 16;
  char dotted[maxDottedSize(kLongest)];
  log.LogData("curveOid", {dotted, oid.size() <= kLongest ? writeDottedOid(oid, dotted) : 0});
}

}  // namespace

EccKeyData::EccKeyData(vartime::ArithmeticPath path) : m_path(path), m_orderDivisor(path) {}

bool EccKeyData::assign(std::span<const unsigned char> curveOid,
                        std::span<const unsigned char> point, LogBase& log) {
  m_prepared.reset();
  m_curve = vartime::findCurve(curveOid, m_path);
  if (m_curve == nullptr) {
    logCurve(curveOid, log);
    return refuse("The curve of the key is not known.", log);
  }
  if (!m_curve->decodePoint(m_point, point.data(), point.size())) {
    return refuse("The key is not a point of its curve.", log);
  }
  m_orderDivisor.assign(m_curve->order(), m_curve->limbs());
  return true;
}

bool EccKeyData::isKey(std::span<const unsigned char> curveOid,
                       std::span<const unsigned char> point) noexcept {
  const vartime::Curve* const curve = vartime::findCurve(curveOid);
  vartime::CurvePoint decoded;
  return curve != nullptr && curve->decodePoint(decoded, point.data(), point.size());
}

bool EccKeyData::prepare() noexcept {
  if (m_prepared == nullptr) m_prepared = m_curve->prepare(m_point);
  return m_prepared != nullptr;
}

bool EccKeyData::eccVerifyHash(const unsigned char* sig, unsigned sigLen, bool,
                               const unsigned char* hash, unsigned hashLen, bool& valid,
                               LogBase& log, unsigned) const {
  const LogContextExitor context(log, "eccVerifyHash");
  valid = false;
  SignaturePair pair;
  const auto outcome =
      pair.read({sig, sigLen}, {hash, hashLen}, {m_curve->order(), m_orderDivisor}, log);
  if (outcome == SignaturePair::Outcome::kUnreadable) return false;
  valid = outcome == SignaturePair::Outcome::kReady &&
          m_curve->doubleMultiplyHasX(pair.u1, pair.u2, m_point, pair.r, m_prepared.get());
  return true;
}

}  // namespace velmora
