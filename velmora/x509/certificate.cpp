#include <new>

#include "velmora/x509/velmora_x509.h"

namespace velmora {
namespace {

// Runs a creator; whatever it throws ends in null.
template <class Create>
auto createOrNull(Create create) noexcept -> decltype(create()) {
  try {
    return create();
  } catch (...) {
    return nullptr;
  }
}

VelmoraX509Holder* newHolder() noexcept {
  return createOrNull([] { return new (std::nothrow) VelmoraX509Holder; });
}

}  // namespace

VelmoraX509::VelmoraX509() : m_certXml(ClsXml::createNewCls()) {}

VelmoraX509::~VelmoraX509() {
  if (m_certXml != nullptr) m_certXml->deleteSelf();
}

VelmoraX509* VelmoraX509::createNewX509() {
  return createOrNull([] { return new (std::nothrow) VelmoraX509; });
}

RefOwner<VelmoraX509> VelmoraX509::createOwnedX509() {
  return RefOwner<VelmoraX509>::keep(createNewX509());
}

VelmoraX509Holder::VelmoraX509Holder() : m_x509(VelmoraX509::createOwnedX509().release()) {}

VelmoraX509Holder::~VelmoraX509Holder() {
  if (m_x509 != nullptr) m_x509->decRefCount();
}

void VelmoraX509Holder::setX509(VelmoraX509* x) {
  if (x == nullptr || x == m_x509) return;
  if (m_x509 != nullptr) m_x509->decRefCount();
  m_x509 = x;
  m_x509->incRefCount();
}

VelmoraX509* VelmoraX509Holder::getNthX509(ExtPtrArray& a, int i) {
  auto* holder = static_cast<VelmoraX509Holder*>(a.elementAt(i));
  return holder != nullptr ? holder->m_x509 : nullptr;
}

VelmoraX509Holder* VelmoraX509Holder::createFromX509(VelmoraX509* x, LogBase&) {
  if (x == nullptr) return nullptr;
  VelmoraX509Holder* holder = newHolder();
  if (holder != nullptr) holder->setX509(x);
  return holder;
}

bool VelmoraX509Holder::appendNewX509Holder(VelmoraX509* x, ExtPtrArray& a, LogBase& log) {
  VelmoraX509Holder* holder = createFromX509(x, log);
  return holder != nullptr && a.appendObject(holder);
}

VelmoraX509Holder* VelmoraX509Holder::createFromDer(const unsigned char* der, unsigned int n,
                                                    LogBase& log) {
  VelmoraX509Holder* holder = newHolder();
  if (holder == nullptr) return nullptr;
  try {
    if (holder->m_x509 != nullptr && holder->m_x509->loadX509DerAlt(der, n, nullptr, log)) {
      return holder;
    }
  } catch (...) {
    // Only the caller's log can throw while a certificate loads. What was loaded by then is the
    // caller's to judge, so the holder is handed out as it stands.
    return holder;
  }
  VelmoraObject::deleteObject(holder);
  return nullptr;
}

}  // namespace velmora
