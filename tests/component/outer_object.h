#pragma once

#include <gtest/gtest.h>
#include <objbase.h>
#include <wrl/client.h>

/// An object that another one is part of. It answers for IUnknown itself and asks the
/// inner object for the rest.
class OuterObject final : public IUnknown
{
public:
    OuterObject() = default;

    /// Around a new object of a registered class.
    explicit OuterObject(REFCLSID clsid)
    {
        EXPECT_EQ(CoCreateInstance(clsid, this, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                   reinterpret_cast<void**>(inner.GetAddressOf())),
                  S_OK);
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        if (!IsEqualIID(iid, IID_IUnknown))
            return inner->QueryInterface(iid, result);
        if (result == nullptr)
            return E_POINTER;
        *result = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++count; }
    STDMETHODIMP_(ULONG) Release() override { return --count; }

    ULONG count = 1;
    Microsoft::WRL::ComPtr<IUnknown> inner;
};
