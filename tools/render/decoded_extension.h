#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "tools/render/json_writer.h"
#include "velmora/certificate/certificate.h"

namespace velmora::tool {

/// What the extensions of one certificate say, as JSON; docs/command-line.md describes each.
class DecodedExtensions {
 public:
  /// The certificate, or why there is none to ask; it has to outlive this object.
  explicit DecodedExtensions(const Result<Certificate>& certificate);

  /// Writes the member "decoded" of the extension with a dotted OID: what Certificate answers of
  /// it, {error, offset} where that is an error, and null for an OID of which it answers nothing
  /// and where no extension stands at its place. Throws std::bad_alloc.
  void write(std::string_view dotted, JsonLine& line);

 private:
  const Result<Certificate>& m_certificate;
  // Of each extension that is known. One that is there twice costs a look at all of them, which
  // must not be taken for each of the thousands that there may be.
  std::vector<std::optional<Error>> m_errors;
};

}  // namespace velmora::tool
