#pragma once

#include <objsafe.h>
#include <windows.h>

#include <atomic>

namespace Mardu {

/// IObjectSafety of a class that is safe for untrusted callers and untrusted data. Most classes
/// are as safe without it; the others ask whether it was asked for.
class ObjectSafety : public IObjectSafety
{
public:
    static IUnknown* Match(ObjectSafety* object, REFIID iid) noexcept;

    STDMETHODIMP GetInterfaceSafetyOptions(REFIID iid, DWORD* pSupported, DWORD* pEnabled) override;
    STDMETHODIMP SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD enabled) override;

protected:
    /// Whether the host wants an object that a script cannot misuse, in either of the two ways.
    bool MustBeSafe() const noexcept { return options_ != 0; }

private:
    std::atomic<DWORD> options_ = 0;
};

} // namespace Mardu
