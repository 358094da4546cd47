#include "module/object_safety.h"

#include "module/com_ptr.h"

namespace Mardu {
namespace {

constexpr DWORD supportedOptions = INTERFACESAFE_FOR_UNTRUSTED_CALLER | INTERFACESAFE_FOR_UNTRUSTED_DATA;

HRESULT CheckInterface(IUnknown* object, REFIID iid)
{
    ComPtr<IUnknown> found;
    return object->QueryInterface(iid, reinterpret_cast<void**>(found.GetAddressOf()));
}

} // namespace

IUnknown* ObjectSafety::Match(ObjectSafety* object, REFIID iid) noexcept
{
    return IsEqualIID(iid, IID_IObjectSafety) ? object : nullptr;
}

HRESULT ObjectSafety::GetInterfaceSafetyOptions(REFIID iid, DWORD* pSupported, DWORD* pEnabled)
{
    if (pSupported == nullptr || pEnabled == nullptr)
        return E_POINTER;
    *pSupported = 0;
    *pEnabled = 0;
    const HRESULT hr = CheckInterface(this, iid);
    if (FAILED(hr))
        return hr;
    *pSupported = supportedOptions;
    *pEnabled = options_;
    return S_OK;
}

HRESULT ObjectSafety::SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD enabled)
{
    const HRESULT hr = CheckInterface(this, iid);
    if (FAILED(hr))
        return hr;
    if ((mask & ~supportedOptions) != 0)
        return E_FAIL;
    options_ &= ~mask;
    options_ |= enabled & mask;
    return S_OK;
}

} // namespace Mardu
