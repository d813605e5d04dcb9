#pragma once

// The forms of "show" for one certificate after the other.

#include "tools/reading/place.h"
#include "tools/render/oid_text.h"
#include "tools/terminal/console.h"
#include "velmora/x509/velmora_x509.h"

namespace velmora::tool {

/// Those that are made of typed answers: a block for people, and a line of JSON.
void showAsText(const InputCertificate& input, OidStyle style, Console& console);
void showAsJson(const InputCertificate& input, bool withDer, StringBuffer& out);

/// Appends the summary of a certificate as XML, indented. Throws std::bad_alloc.
void appendSummaryXml(VelmoraX509& certificate, StringBuffer& out);

}  // namespace velmora::tool
