#pragma once

// Octets in the typed face: seen, owned, and whatever a caller has them in.

#include <cstddef>
#include <ranges>
#include <span>
#include <type_traits>
#include <vector>

namespace velmora {

/// Octets that somebody else owns. Those that a Certificate gives live as long as any copy of it.
using Bytes = std::span<const std::byte>;

/// Octets that whoever holds them owns.
using Octets = std::vector<std::byte>;

/// What octets are taken from: a vector of unsigned char, a string, a string_view, a span of
/// std::byte, an array of unsigned char, but no string literal, whose NUL at the end is none.
template <class R>
concept ByteRange =
    std::ranges::contiguous_range<R> && sizeof(std::ranges::range_value_t<R>) == 1 &&
    !std::is_same_v<std::remove_cv_t<std::remove_extent_t<std::remove_reference_t<R>>>, char>;

}  // namespace velmora
