#pragma once

#include <objsafe.h>
#include <windows.h>

namespace Mardu {

/// IObjectSafety of a class that is safe for untrusted callers and untrusted data. The
/// options are remembered and change nothing: the class is as safe without them.
class ObjectSafety : public IObjectSafety
{
public:
    static IUnknown* Match(ObjectSafety* object, REFIID iid) noexcept;

    STDMETHODIMP GetInterfaceSafetyOptions(REFIID iid, DWORD* pSupported, DWORD* pEnabled) override;
    STDMETHODIMP SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD enabled) override;

private:
    LONG options_ = 0;
};

} // namespace Mardu
