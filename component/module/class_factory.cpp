#include "module/class_factory.h"

#include "module/error.h"

namespace Mardu {

HRESULT ClassFactory::QueryInterface(REFIID iid, void** result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IClassFactory))
        return E_NOINTERFACE;
    *result = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

// The count of outside references is the module's business alone; callers may only
// rely on it being above 0.

ULONG ClassFactory::AddRef()
{
    LockModule();
    return 2;
}

ULONG ClassFactory::Release()
{
    UnlockModule();
    return 1;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    if (outer != nullptr && !IsEqualIID(iid, IID_IUnknown))
        return CLASS_E_NOAGGREGATION;
    return Guarded([&] { return create_(outer)->QueryInterface(iid, result); });
}

HRESULT ClassFactory::LockServer(BOOL lock)
{
    lock != FALSE ? LockModule() : UnlockModule();
    return S_OK;
}

} // namespace Mardu
