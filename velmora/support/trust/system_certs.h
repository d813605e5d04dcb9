#pragma once

// A store of certificates as they came.

#include <cstddef>
#include <set>
#include <shared_mutex>

#include "velmora/support/core/export.h"
#include "velmora/support/core/pod_array.h"
#include "velmora/support/log/log_base.h"
#include "velmora/support/text/data_buffer.h"

namespace velmora {

/// A store of certificates as DER, in the order in which they came, each kept once. It parses
/// nothing. Safe for concurrent use; readers never wait for each other.
class VELMORA_API SystemCerts {
 public:
  SystemCerts() = default;
  ~SystemCerts();
  SystemCerts(const SystemCerts&) = delete;
  SystemCerts& operator=(const SystemCerts&) = delete;

  /// Keeps a copy of one certificate's DER. True when the store now holds it, also when it did
  /// before; false for empty bytes and when memory ran out.
  bool addCertDer(const DataBuffer& der, LogBase& log);

  /// How many certificates the store holds.
  size_t getCount() const;

  /// Replaces `out` by the DER of the n-th certificate from 0; false, with `out` empty, past the
  /// end.
  bool getNthCertDer(size_t n, DataBuffer& out) const;

  /// Forgets every certificate.
  void clear();

 private:
  struct BytesBefore {
    bool operator()(const DataBuffer* a, const DataBuffer* b) const noexcept;
  };

  bool keepCopy(const DataBuffer& der);

  mutable std::shared_mutex m_lock;
  PodArray<DataBuffer*> m_certs;                       // owned, in the order in which they came
  std::set<const DataBuffer*, BytesBefore> m_byBytes;  // the same ones, to find a duplicate
};

}  // namespace velmora
