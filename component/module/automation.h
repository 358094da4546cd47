#pragma once

#include "module/com_ptr.h"

#include <oaidl.h>
#include <windows.h>

namespace Mardu {

/// The type libraries that dual interfaces of this component are described in.
enum class TypeLibrary
{
    Tavlo,        ///< in this module's resources
    SentelCommon, ///< a library of its own, found through the registry
};

/// The description of a dual interface, loaded on first use; throws on failure.
ComPtr<ITypeInfo> TypeInfoOf(TypeLibrary library, REFIID iid);

/// Forgets all loaded descriptions.
void ReleaseTypeInfos() noexcept;

/// Leaves them unreleased when the process ends: their library may be gone already.
void AbandonTypeInfos() noexcept;

// IDispatch on a type description, for a dual interface of the object.

HRESULT AutomationTypeInfo(TypeLibrary library, REFIID iid, UINT index, ITypeInfo** ppTypeInfo) noexcept;
HRESULT AutomationIdsOfNames(TypeLibrary library, REFIID iid, REFIID reserved, LPOLESTR* names, UINT count,
                             DISPID* ids) noexcept;
HRESULT AutomationInvoke(TypeLibrary library, REFIID iid, void* object, DISPID member, REFIID reserved,
                         WORD flags, DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                         UINT* badArgument) noexcept;

/// A dual interface as a base of ComObject: IDispatch comes from its type description.
template <class Interface, TypeLibrary library = TypeLibrary::Tavlo>
class Automation : public Interface
{
public:
    static IUnknown* Match(Automation* object, REFIID iid) noexcept
    {
        const bool matches = IsEqualIID(iid, __uuidof(Interface)) || IsEqualIID(iid, IID_IDispatch);
        return matches ? static_cast<Interface*>(object) : nullptr;
    }

    STDMETHODIMP GetTypeInfoCount(UINT* pCount) override
    {
        if (pCount == nullptr)
            return E_POINTER;
        *pCount = 1;
        return S_OK;
    }

    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** ppTypeInfo) override
    {
        return AutomationTypeInfo(library, __uuidof(Interface), index, ppTypeInfo);
    }

    STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids) override
    {
        return AutomationIdsOfNames(library, __uuidof(Interface), reserved, names, count, ids);
    }

    STDMETHODIMP Invoke(DISPID member, REFIID reserved, LCID, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override
    {
        return AutomationInvoke(library, __uuidof(Interface), static_cast<Interface*>(this), member, reserved,
                                flags, parameters, result, exception, badArgument);
    }
};

} // namespace Mardu
