#include "tests/certificate/other_mode.h"

namespace velmora::test {

static_assert(__cplusplus > 202002L);
#ifdef __cpp_exceptions
#error "This file is compiled without exceptions."
#endif

Result<Certificate> parseInOtherMode(std::string_view der) noexcept {
  return Certificate::parse(der);
}

Result<Oid> signatureAlgorithmInOtherMode(const Result<Certificate>& certificate) noexcept {
  return certificate.transform(&Certificate::signatureAlgorithm);
}

}  // namespace velmora::test
