#pragma once

#include <cstddef>

namespace Mardu::Sentel::Tavlo {

// Sizes from which on the loops in vectors go another way, in bytes where nothing else is said. What each way
// gains is in docs/performance.md, "What was tried". Tests take the sizes that they try from here.

/// Targets of this size and more come, with their sources, from beyond the second cache. There vectors of 32
/// bytes are as fast as such memory is, and those of 64 a few percent slower where they compute little.
inline constexpr std::size_t farBytes = std::size_t{128} << 10;

/// Copies of this size and more are written in halves of vectors.
inline constexpr std::size_t halvedBytes = std::size_t{1} << 20;

/// Sources and targets of together this size and more come from the third cache, unless they are streamed to.
/// There it is a few percent faster to read a line in blocks of 16 bytes, and to write one, than to do both
/// in whole vectors.
inline constexpr std::size_t distantBytes = std::size_t{2} << 20;

/// Targets of this size and more displace each other in most caches before anybody reads them. They are
/// written past the caches, which saves reading their lines first.
inline constexpr std::size_t streamedBytes = std::size_t{12} << 20;

/// Rows of this size and more are streamed to where there are many of them. Of shorter ones too many lines
/// are not whole: a line is written in one way or the other, for both take longer than either.
inline constexpr std::size_t streamedRow = 1024;

/// So many pixels are worth taking a table of 256 entries apart into tables of bytes.
inline constexpr std::size_t splitTablePixels = 256;

} // namespace Mardu::Sentel::Tavlo
