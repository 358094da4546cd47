#include "module/stream.h"

#include "module/error.h"

namespace Mardu {

void ReadExactly(IStream* stream, void* data, ULONG bytes)
{
    ULONG done = 0;
    CheckHResult(stream->Read(data, bytes, &done));
    if (done != bytes)
        throw HResultException(STG_E_READFAULT);
}

void WriteExactly(IStream* stream, const void* data, ULONG bytes)
{
    ULONG done = 0;
    CheckHResult(stream->Write(data, bytes, &done));
    if (done != bytes)
        throw HResultException(STG_E_MEDIUMFULL);
}

std::int32_t ReadInt32(IStream* stream)
{
    std::int32_t value = 0;
    ReadExactly(stream, &value, sizeof(value));
    return value;
}

void WriteInt32(IStream* stream, std::int32_t value)
{
    WriteExactly(stream, &value, sizeof(value));
}

} // namespace Mardu
