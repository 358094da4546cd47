#include "module/standard_marshal.h"

#include "module/error.h"

namespace Mardu {

ComPtr<IMarshal> StandardMarshal(REFIID iid, IUnknown* object, DWORD context, void* contextData, DWORD flags)
{
    ComPtr<IMarshal> marshal;
    CheckHResult(CoGetStandardMarshal(iid, object, context, contextData, flags, &marshal));
    return marshal;
}

ComPtr<IMarshal> StandardUnmarshal()
{
    return StandardMarshal(IID_IUnknown, nullptr, MSHCTX_LOCAL, nullptr, MSHLFLAGS_NORMAL);
}

void ReleaseUnusedMarshalData(IStream* stream) noexcept
{
    if (SUCCEEDED(stream->Seek({}, STREAM_SEEK_SET, nullptr)))
        CoReleaseMarshalData(stream);
}

} // namespace Mardu
