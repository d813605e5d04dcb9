#pragma once

// The rounds of SHA-1 and SHA-2 on what x86-64 has for them.

#include "velmora/support/core/target.h"

#if defined(VELMORA_X86_64)
#define VELMORA_SHA_X86 1

#include <cstddef>
#include <cstdint>

/// Compression functions for x86-64 CPUs; the signatures are those of ShaPath. Each may run only
/// where the CPU feature in its name is present.
namespace velmora::sha_x86 {

void sha1Bmi2(uint32_t* state, const unsigned char* blocks, size_t count) noexcept;
void sha256Bmi2(uint32_t* state, const unsigned char* blocks, size_t count) noexcept;
void sha512Bmi2(uint64_t* state, const unsigned char* blocks, size_t count) noexcept;

/// Needs AVX and BMI2.
void sha512Avx(uint64_t* state, const unsigned char* blocks, size_t count) noexcept;

void sha1Extensions(uint32_t* state, const unsigned char* blocks, size_t count) noexcept;
void sha256Extensions(uint32_t* state, const unsigned char* blocks, size_t count) noexcept;

}  // namespace velmora::sha_x86

#endif
