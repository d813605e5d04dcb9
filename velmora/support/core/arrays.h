#pragma once

// Arrays that own what is put into them, with the vocabulary of VelmoraX509.

#include "velmora/support/core/export.h"
#include "velmora/support/core/objects.h"
#include "velmora/support/core/pod_array.h"

namespace velmora {

/// Growable array that owns its objects: they are deleted with it. Not safe for concurrent use.
class VELMORA_API ExtPtrArray {
 public:
  ExtPtrArray() = default;
  ~ExtPtrArray() { removeAllObjects(); }
  ExtPtrArray(const ExtPtrArray&) = delete;
  ExtPtrArray& operator=(const ExtPtrArray&) = delete;

  /// How many objects it has.
  int getSize() const noexcept { return static_cast<int>(m_objects.size()); }

  /// The i-th object from 0, still owned by the array; null outside the array.
  VelmoraObject* elementAt(int i) const noexcept;

  /// Appends an object and takes it over. False (the object is then deleted) when it is null or the
  /// array cannot grow.
  bool appendObject(VelmoraObject* object);

  /// Deletes every object.
  void removeAllObjects();

 private:
  PodArray<VelmoraObject*> m_objects;
};

/// Growable array that holds one counted reference to each of its objects. Not safe for concurrent
/// use; the objects may be shared with other threads.
class VELMORA_API ExtPtrArrayRc {
 public:
  ExtPtrArrayRc() = default;
  ~ExtPtrArrayRc() { removeAllObjects(); }
  ExtPtrArrayRc(const ExtPtrArrayRc&) = delete;
  ExtPtrArrayRc& operator=(const ExtPtrArrayRc&) = delete;

  /// How many objects it has.
  int getSize() const noexcept { return static_cast<int>(m_objects.size()); }

  /// The i-th object from 0, its count unchanged; null outside the array.
  RefCountedObject* elementAt(int i) const noexcept;

  /// Keeps the reference that the caller counted. False (that reference is then given up) when the
  /// object is null or the array cannot grow.
  bool appendRefCounted(RefCountedObject* object);

  /// Gives up every reference.
  void removeAllObjects();

 private:
  PodArray<RefCountedObject*> m_objects;
};

}  // namespace velmora
