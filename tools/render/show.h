#pragma once

// The two forms of "show" for one certificate after the other.

#include "tools/reading/input.h"
#include "tools/render/oid_text.h"

namespace velmora::tool {

/// The forms of "show" that are made of typed answers: a block for people, and a line of JSON.
void showAsText(const InputCertificate& input, OidStyle style, Console& console);
void showAsJson(const InputCertificate& input, bool withDer, StringBuffer& out);

}  // namespace velmora::tool
