#include "velmora/support/core/objects.h"

namespace velmora {

void RefCountedObject::decRefCount() noexcept {
  if (m_count.fetch_sub(1, std::memory_order_acq_rel) <= 1) delete this;
}

}  // namespace velmora
