#pragma once

#include <windows.h>

#include <cstdint>

namespace Mardu {

/// How many bytes from an address on are memory in one piece, such as a view of a section; 0
/// where there is none.
std::uint64_t MappedBytes(const void* address) noexcept;

} // namespace Mardu
