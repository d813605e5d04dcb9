#pragma once

// What the shared library shows of itself.

/// Stands on every public class and function that is not wholly in a header. It means something in
/// the shared library alone, which shows nothing else; whoever links that has VELMORA_SHARED from
/// its CMake package or its pkg-config file. The static library shows nothing of itself, so that a
/// shared library that it is linked into does not either.
#if !defined(VELMORA_SHARED)
#define VELMORA_API
#elif !defined(_WIN32)
#define VELMORA_API __attribute__((visibility("default")))
#elif defined(VELMORA_BUILDING)  // by the library itself
#define VELMORA_API __declspec(dllexport)
#else
#define VELMORA_API __declspec(dllimport)
#endif
