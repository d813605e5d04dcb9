#pragma once

// What the CPU can do, asked in this one place.

namespace velmora {

/// What an x86-64 CPU and its operating system say of themselves, as far as some code rests on it.
/// All zero, and so without any feature, on every other CPU.
struct CpuFeatures {
  unsigned leaf1Ecx = 0;     // of CPUID
  unsigned leaf7Ebx = 0;     // of CPUID, sub-leaf 0
  unsigned savedStates = 0;  // XCR0: the registers that the system saves; 0 without OSXSAVE

  // Of leaf 1.
  static constexpr unsigned kSsse3 = 1U << 9;
  static constexpr unsigned kSse41 = 1U << 19;
  static constexpr unsigned kOsXsave = 1U << 27;
  static constexpr unsigned kAvx = 1U << 28;
  // Of leaf 7.
  static constexpr unsigned kAvx2 = 1U << 5;
  static constexpr unsigned kBmi2 = 1U << 8;
  static constexpr unsigned kAvx512F = 1U << 16;
  static constexpr unsigned kAdx = 1U << 19;
  static constexpr unsigned kAvx512Ifma = 1U << 21;
  static constexpr unsigned kSha = 1U << 29;
  static constexpr unsigned kAvx512Vl = 1U << 31;
  // Of XCR0.
  static constexpr unsigned kYmmStates = 0x06;  // SSE, AVX
  static constexpr unsigned kZmmStates = 0xe6;  // and opmask, upper ZMM halves, ZMM16-31

  constexpr bool hasBmi2() const noexcept { return has(leaf7Ebx, kBmi2); }
  /// BMI2 and ADX: two carry chains side by side.
  constexpr bool hasMulxAdx() const noexcept { return has(leaf7Ebx, kBmi2 | kAdx); }
  /// AVX with registers that the system saves.
  constexpr bool hasAvx() const noexcept {
    return has(leaf1Ecx, kAvx) && has(savedStates, kYmmStates);
  }
  /// AVX2 with registers that the system saves.
  constexpr bool hasAvx2() const noexcept { return hasAvx() && has(leaf7Ebx, kAvx2); }
  /// AVX-512 IFMA, also on registers of 256 bits, all of which the system saves.
  constexpr bool hasAvx512Ifma() const noexcept {
    return has(leaf7Ebx, kAvx512F | kAvx512Ifma | kAvx512Vl) && has(savedStates, kZmmStates);
  }
  /// The SHA extensions, with SSSE3 and SSE4.1, which code for them uses as well.
  constexpr bool hasSha() const noexcept {
    return has(leaf7Ebx, kSha) && has(leaf1Ecx, kSsse3 | kSse41);
  }

 private:
  static constexpr bool has(unsigned word, unsigned bits) noexcept { return (word & bits) == bits; }
};

/// Those of this CPU; found once. Any thread.
const CpuFeatures& cpuFeatures() noexcept;

}  // namespace velmora
