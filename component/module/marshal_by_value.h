#pragma once

#include "module/error.h"
#include "module/stream.h"

#include <objidl.h>
#include <windows.h>

namespace Mardu {

/// IMarshal of a class whose objects travel by value: the packet holds the object's
/// state, and the receiver makes an object of the same class from it. Derived tells the
/// state's size and writes and reads it.
class MarshalByValue : public IMarshal
{
public:
    static IUnknown* Match(MarshalByValue* object, REFIID iid) noexcept
    {
        return IsEqualIID(iid, IID_IMarshal) ? object : nullptr;
    }

    STDMETHODIMP GetUnmarshalClass(REFIID, void*, DWORD, void*, DWORD, CLSID* pClass) override
    {
        if (pClass == nullptr)
            return E_POINTER;
        *pClass = MarshalClass();
        return S_OK;
    }

    STDMETHODIMP GetMarshalSizeMax(REFIID, void*, DWORD, void*, DWORD, DWORD* pSize) override
    {
        if (pSize == nullptr)
            return E_POINTER;
        *pSize = StateSize();
        return S_OK;
    }

    STDMETHODIMP MarshalInterface(IStream* stream, REFIID, void*, DWORD, void*, DWORD) override
    {
        if (stream == nullptr)
            return E_POINTER;
        return Guarded([&] { WriteState(stream); });
    }

    STDMETHODIMP UnmarshalInterface(IStream* stream, REFIID iid, void** result) override
    {
        if (result == nullptr)
            return E_POINTER;
        *result = nullptr;
        if (stream == nullptr)
            return E_POINTER;
        return Guarded([&] {
            ReadState(stream);
            return QueryInterface(iid, result);
        });
    }

    STDMETHODIMP ReleaseMarshalData(IStream* stream) override
    {
        if (stream == nullptr)
            return E_POINTER;
        return Guarded([&] { SkipState(stream); });
    }

    STDMETHODIMP DisconnectObject(DWORD) override { return S_OK; }

protected:
    virtual const CLSID& MarshalClass() const noexcept = 0;
    virtual DWORD StateSize() const noexcept = 0;
    virtual void WriteState(IStream* stream) const = 0;
    virtual void ReadState(IStream* stream) = 0;
    virtual void SkipState(IStream* stream) const = 0;
};

} // namespace Mardu
