#pragma once

#include <objidl.h>
#include <windows.h>

#include <cstdint>

namespace Mardu {

// Whole reads and writes on a stream. Failures throw with the stream's own HRESULT; a
// stream that ends early gives STG_E_READFAULT or STG_E_MEDIUMFULL.

void ReadExactly(IStream* stream, void* data, ULONG bytes);
void WriteExactly(IStream* stream, const void* data, ULONG bytes);

/// A signed 32-bit number, little-endian as the processor.
std::int32_t ReadInt32(IStream* stream);
void WriteInt32(IStream* stream, std::int32_t value);

} // namespace Mardu
