#pragma once

#include "module/com_ptr.h"

#include <objidl.h>
#include <windows.h>

namespace Mardu {

/// The runtime's own marshaler of an object; throws its failure.
ComPtr<IMarshal> StandardMarshal(REFIID iid, IUnknown* object, DWORD context, void* contextData, DWORD flags);

/// The runtime's own marshaler for packets of any object.
ComPtr<IMarshal> StandardUnmarshal();

/// Gives back the reference in a packet that nobody unmarshals any more, from its start.
void ReleaseUnusedMarshalData(IStream* stream) noexcept;

} // namespace Mardu
