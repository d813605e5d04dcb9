#pragma once

// What is computed ahead with a point that is multiplied again and again.

#include "velmora/support/core/export.h"

namespace velmora::vartime {

/// Multiples of one point. Made by the prepare() of a curve object, which alone can use them, and
/// for that point alone. Never changes; any number of threads may use one.
class VELMORA_API PreparedPoint {
 public:
  virtual ~PreparedPoint() = default;
  PreparedPoint(const PreparedPoint&) = delete;
  PreparedPoint& operator=(const PreparedPoint&) = delete;

 protected:
  PreparedPoint() = default;
};

}  // namespace velmora::vartime
