#pragma once

#include "module/com_ptr.h"

#include <memory>

namespace Mardu {

/// A reference to a foreign object that is copied without a call into it, so also under a lock.
/// The last copy releases it: let that one die outside the lock. Throws for want of memory.
template <class T>
using HeldInterface = std::shared_ptr<ComPtr<T>>;

template <class T>
HeldInterface<T> Hold(T* object)
{
    return std::make_shared<ComPtr<T>>(object);
}

/// A counted reference to it; null for none.
template <class T>
ComPtr<T> ReferenceTo(const HeldInterface<T>& held) noexcept
{
    return held != nullptr ? *held : ComPtr<T>();
}

} // namespace Mardu
