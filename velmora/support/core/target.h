#pragma once

// What may be written for one kind of CPU.

#if defined(__x86_64__) && !defined(__ILP32__) && defined(__GNUC__) && !defined(VELMORA_PORTABLE)
/// Defined where assembly and intrinsics for x86-64 are compiled. Nowhere with VELMORA_PORTABLE,
/// with which all is C++ and the compiler's own, nor with pointers of 32 bits, since the assembly
/// takes lengths and addresses to be of 64.
#define VELMORA_X86_64 1
#endif
