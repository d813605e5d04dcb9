#pragma once

// The two forms of "show" for one certificate after the other.

#include <memory>

#include "tools/reading/input.h"
#include "tools/render/oid_text.h"

namespace velmora::tool {

/// The forms of "show" that are made of typed answers.
std::unique_ptr<CertificateVisitor> makeShowText(OidStyle style, Console& console);
std::unique_ptr<CertificateVisitor> makeShowJson(bool withDer, Console& console);

}  // namespace velmora::tool
