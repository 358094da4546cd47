#pragma once

#include "events/connection_array.h"
#include "events/enumerator.h"
#include "module/error.h"
#include "module/foreign_call.h"

#include <ocidl.h>
#include <olectl.h>

namespace Mardu::Sentel {

struct ConnectionPolicy
{
    static void Give(const Connection& connection, CONNECTDATA& slot) noexcept
    {
        connection.sink.CopyTo(&slot.pUnk);
        slot.dwCookie = connection.cookie;
    }
};

using ConnectionEnumerator = Enumerator<IEnumConnections, CONNECTDATA, Connection, ConnectionPolicy>;

/// The connection point of a container for one dispinterface. It is an identity of its
/// own and lives as a part of TDerived, its container, whose references it counts.
template <class TDerived, const IID& iid, class Connections>
class IDispConnectionPointImpl
{
public:
    IConnectionPoint* Point() noexcept { return &point_; }

protected:
    IDispConnectionPointImpl() noexcept : point_(*this) {}
    ~IDispConnectionPointImpl() = default;

    Connections connections_;

private:
    class ConnectionPoint final : public IConnectionPoint
    {
    public:
        explicit ConnectionPoint(IDispConnectionPointImpl& owner) noexcept : owner_(owner) {}

        STDMETHODIMP QueryInterface(REFIID requested, void** result) override
        {
            if (result == nullptr)
                return E_POINTER;
            *result = nullptr;
            if (!IsEqualIID(requested, IID_IUnknown) && !IsEqualIID(requested, IID_IConnectionPoint))
                return E_NOINTERFACE;
            *result = static_cast<IConnectionPoint*>(this);
            AddRef();
            return S_OK;
        }

        STDMETHODIMP_(ULONG) AddRef() override { return Container().AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return Container().Release(); }

        STDMETHODIMP GetConnectionInterface(IID* pIid) override
        {
            if (pIid == nullptr)
                return E_POINTER;
            *pIid = iid;
            return S_OK;
        }

        STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** ppContainer) override
        {
            if (ppContainer == nullptr)
                return E_POINTER;
            *ppContainer = nullptr;
            return Container().QueryInterface(IID_IConnectionPointContainer,
                                              reinterpret_cast<void**>(ppContainer));
        }

        STDMETHODIMP Advise(IUnknown* pUnkSink, DWORD* pCookie) override
        {
            if (pCookie != nullptr)
                *pCookie = 0;
            if (pUnkSink == nullptr || pCookie == nullptr)
                return E_POINTER;
            const auto alive = Container().KeepAlive();
            ComPtr<IUnknown> sink;
            const HRESULT hr = Guarded([&] {
                return CallForeign([&] {
                    return pUnkSink->QueryInterface(iid, reinterpret_cast<void**>(sink.GetAddressOf()));
                });
            });
            if (FAILED(hr))
                return hr == E_NOINTERFACE ? CONNECT_E_CANNOTCONNECT : hr;
            try {
                *pCookie = owner_.connections_.Add(sink);
                return S_OK;
            } catch (...) {
                return CONNECT_E_ADVISELIMIT;
            }
        }

        STDMETHODIMP Unadvise(DWORD cookie) override
        {
            const auto alive = Container().KeepAlive();
            return owner_.connections_.Remove(cookie) ? S_OK : CONNECT_E_NOCONNECTION;
        }

        STDMETHODIMP EnumConnections(IEnumConnections** ppEnumerator) override
        {
            if (ppEnumerator == nullptr)
                return E_POINTER;
            *ppEnumerator = nullptr;
            const auto alive = Container().KeepAlive();
            return Guarded([&] {
                auto snapshot =
                    std::make_shared<const std::vector<Connection>>(owner_.connections_.Snapshot());
                return Make<ConnectionEnumerator>(std::move(snapshot)).CopyTo(ppEnumerator);
            });
        }

    private:
        TDerived& Container() noexcept { return static_cast<TDerived&>(owner_); }

        IDispConnectionPointImpl& owner_;
    };

    ConnectionPoint point_;
};

} // namespace Mardu::Sentel
