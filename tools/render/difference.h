#pragma once

// In which fields two certificates differ.

#include <vector>

#include "velmora/certificate/certificate.h"
#include "velmora/support/text/string_buffer.h"

namespace velmora::tool {

/// A field in which two certificates differ, and what each says there; safe to print. Where they
/// differ in no field that is compared, `field` says so and there is nothing else.
struct FieldDifference {
  StringBuffer field;
  StringBuffer before;
  StringBuffer after;
};

/// Compares field by field, octet by octet; of two that are the same octets there is none.
std::vector<FieldDifference> differencesOf(const Certificate& before, const Certificate& after);

}  // namespace velmora::tool
