#pragma once

// The member "decoded" of extensions in JSON; docs/json-schema.json has its shapes.

#include <utility>
#include <vector>

#include "tools/render/json_writer.h"
#include "tools/render/oid_text.h"
#include "velmora/certificate/certificate.h"

namespace velmora::tool {

/// Writes the members oid, name and qualifiers of a policy.
void writePolicy(const DottedOid& id, const std::vector<PolicyQualifier>& qualifiers,
                 JsonLine& line);

/// Writes what the extensions of one certificate say, to the letter.
class DecodedExtensions {
 public:
  /// The certificate outlives this object.
  explicit DecodedExtensions(const Certificate& certificate) : m_certificate(certificate) {}

  /// Writes the member "decoded": what a known extension says, {error, offset} when it is malformed
  /// or there more than once, null when it is not known.
  void write(const Extension& extension, JsonLine& line);

 private:
  const Certificate& m_certificate;
  std::vector<std::pair<Oid, Error>> m_refused;
};

}  // namespace velmora::tool
