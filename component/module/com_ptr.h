#pragma once

#include <wrl/client.h>

namespace Mardu {

using Microsoft::WRL::ComPtr;

/// Owns the reference that the caller holds on object. Instead of ComPtr::Attach, which
/// takes a second reference in mingw-w64's header and none in others.
template <class T>
ComPtr<T> TakeReference(T* object) noexcept
{
    ComPtr<T> owner;
    *owner.GetAddressOf() = object;
    return owner;
}

} // namespace Mardu
