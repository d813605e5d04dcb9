#pragma once

// Counted objects, and who keeps their counts.

#include <atomic>
#include <cstddef>

#include "velmora/support/core/crit_sec.h"
#include "velmora/support/core/export.h"

namespace velmora {

/// Base of objects with one owner, deleted through deleteObject.
class VELMORA_API VelmoraObject {
 public:
  VelmoraObject() = default;
  virtual ~VelmoraObject() = default;
  VelmoraObject(const VelmoraObject&) = delete;
  VelmoraObject& operator=(const VelmoraObject&) = delete;

  /// Bytes on the heap that the object owns beyond itself, as far as its class counts them.
  virtual size_t heapUsage() { return 0; }

  /// Destroys and frees the object; null is allowed.
  static void deleteObject(VelmoraObject* object) { delete object; }
};

/// An object that has exactly one owner, and so no count.
class VELMORA_API NonRefCountedObj : public VelmoraObject {};

/// Base of objects that several owners share: a count that starts at 0, and a re-entrant lock (the
/// object is its own VelmoraCritSec). The count is atomic; any thread may change it.
class VELMORA_API RefCountedObject : public VelmoraCritSec {
 public:
  RefCountedObject() = default;
  virtual ~RefCountedObject() = default;

  /// Counts one reference more.
  void incRefCount() noexcept { m_count.fetch_add(1, std::memory_order_relaxed); }

  /// Takes one reference away and destroys the object when none is left. An object whose count is
  /// still 0 was never kept: this destroys it as well.
  void decRefCount() noexcept;

  /// The count at this moment; of use to tests and diagnostics only.
  int refCount() const noexcept { return m_count.load(std::memory_order_relaxed); }

 private:
  std::atomic<int> m_count{0};
};

/// Owner of one reference to a counted object, or of none. Movable, so that it can be handed on and
/// stand in containers.
template <class T>
class RefOwner {
 public:
  /// Takes over a reference that is counted already, as most factories hand it out; null is
  /// allowed. For an object that nobody counted, or that somebody else holds, there is keep.
  explicit RefOwner(T* counted = nullptr) noexcept : m_object(counted) {}
  ~RefOwner() { reset(); }
  RefOwner(const RefOwner&) = delete;
  RefOwner& operator=(const RefOwner&) = delete;
  /// Takes the reference of `other` over, which has none then.
  RefOwner(RefOwner&& other) noexcept : m_object(other.release()) {}
  /// Gives its own reference up, and takes that of `other` over.
  RefOwner& operator=(RefOwner&& other) noexcept {
    reset(other.release());
    return *this;
  }

  /// An owner with a reference of its own, which it counts; null gives an owner of nothing.
  static RefOwner keep(T* object) noexcept {
    if (object != nullptr) object->incRefCount();
    return RefOwner(object);
  }

  /// The object, its count unchanged; null when there is none.
  T* get() const noexcept { return m_object; }
  /// Its members. Undefined where there is none.
  T* operator->() const noexcept { return m_object; }
  /// The object. Undefined where there is none.
  T& operator*() const noexcept { return *m_object; }
  /// Whether there is one.
  explicit operator bool() const noexcept { return m_object != nullptr; }

  /// Gives the reference up, and takes over one that is counted already; null is allowed.
  void reset(T* counted = nullptr) noexcept {
    T* old = m_object;
    m_object = counted;
    if (old != nullptr) old->decRefCount();
  }

  /// Hands the reference to the caller.
  T* release() noexcept {
    T* object = m_object;
    m_object = nullptr;
    return object;
  }

 private:
  T* m_object;
};

}  // namespace velmora
