#include "velmora/support/trust/system_certs.h"

#include <cstring>
#include <mutex>
#include <new>

namespace velmora {

// Any order will do; the length first decides most comparisons without a look at the bytes.
bool SystemCerts::BytesBefore::operator()(const DataBuffer* a, const DataBuffer* b) const noexcept {
  if (a->size() != b->size()) return a->size() < b->size();
  return std::memcmp(a->data(), b->data(), a->size()) < 0;
}

SystemCerts::~SystemCerts() {
  clear();
}

bool SystemCerts::addCertDer(const DataBuffer& der, LogBase& log) {
  if (der.empty() || der.failed()) {
    log.LogError("No certificate DER to add.");
    return false;
  }
  if (keepCopy(der)) return true;
  log.LogError("Out of memory while adding a certificate.");
  return false;
}

bool SystemCerts::keepCopy(const DataBuffer& der) {
  const std::unique_lock lock(m_lock);
  if (m_byBytes.contains(&der)) return true;
  auto* copy = new (std::nothrow) DataBuffer;
  if (copy != nullptr && copy->append(der) && m_certs.push_back(copy)) {
    try {
      m_byBytes.insert(copy);
      return true;
    } catch (const std::bad_alloc&) {
      m_certs.pop_back();
    }
  }
  delete copy;
  return false;
}

size_t SystemCerts::getCount() const {
  const std::shared_lock lock(m_lock);
  return m_certs.size();
}

bool SystemCerts::getNthCertDer(size_t n, DataBuffer& out) const {
  out.clear();
  const std::shared_lock lock(m_lock);
  return n < m_certs.size() && out.append(*m_certs[n]);
}

void SystemCerts::clear() {
  const std::unique_lock lock(m_lock);
  m_byBytes.clear();
  for (const DataBuffer* cert : m_certs) delete cert;
  m_certs.clear();
}

}  // namespace velmora
