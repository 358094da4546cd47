#pragma once

#include "module/com_ptr.h"
#include "module/handle.h"
#include "shared/sections/shared_view.h"

#include "TavloInternal.h"

#include <objidl.h>

#include <string>

namespace Mardu::Sentel::Tavlo {

/// What an accessor stands for: an image, the name of its section, and a view of it. The
/// view is shared with the image, with another accessor, or came with a mapping of its own.
struct AccessorTarget
{
    // Released from the last to the first.
    ComPtr<ITavloInternal> image;
    std::wstring mapName;
    UniqueHandle mapping; ///< null for a view that somebody else has mapped
    SharedView view;
};

// How accessors travel: by value, with a standard reference to the image and the name of
// its section, which the receiver maps itself. Other machines are refused with
// CO_E_CANT_REMOTE. Failures throw.

DWORD AccessorMarshalSizeMax(const AccessorTarget& target, REFIID iid, void* object, DWORD context,
                             void* contextData, DWORD flags);
void MarshalAccessor(IStream* stream, const AccessorTarget& target, DWORD context, void* contextData);
AccessorTarget UnmarshalAccessor(IStream* stream);
void ReleaseAccessorMarshalData(IStream* stream);

} // namespace Mardu::Sentel::Tavlo
