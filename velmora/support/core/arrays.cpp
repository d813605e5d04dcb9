#include "velmora/support/core/arrays.h"

namespace velmora {
namespace {

template <class T>
T* elementOrNull(const PodArray<T*>& objects, int i) noexcept {
  return i >= 0 && static_cast<size_t>(i) < objects.size() ? objects[static_cast<size_t>(i)]
                                                           : nullptr;
}

}  // namespace

VelmoraObject* ExtPtrArray::elementAt(int i) const noexcept {
  return elementOrNull(m_objects, i);
}

bool ExtPtrArray::appendObject(VelmoraObject* object) {
  if (object == nullptr) return false;
  if (m_objects.push_back(object)) return true;
  VelmoraObject::deleteObject(object);
  return false;
}

void ExtPtrArray::removeAllObjects() {
  for (VelmoraObject* object : m_objects) VelmoraObject::deleteObject(object);
  m_objects.clear();
}

RefCountedObject* ExtPtrArrayRc::elementAt(int i) const noexcept {
  return elementOrNull(m_objects, i);
}

bool ExtPtrArrayRc::appendRefCounted(RefCountedObject* object) {
  if (object == nullptr) return false;
  if (m_objects.push_back(object)) return true;
  object->decRefCount();
  return false;
}

void ExtPtrArrayRc::removeAllObjects() {
  for (RefCountedObject* object : m_objects) object->decRefCount();
  m_objects.clear();
}

}  // namespace velmora
