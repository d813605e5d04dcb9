#pragma once

#include "velmora/certificate/certificate.h"

namespace velmora::test {

// Compiled as later C++, without exceptions and run-time types, and called from C++20 with both.

Result<Certificate> parseInOtherMode(std::string_view der) noexcept;
Result<Oid> signatureAlgorithmInOtherMode(const Result<Certificate>& certificate) noexcept;

}  // namespace velmora::test
