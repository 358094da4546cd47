#pragma once

#include "access/proxy/remote_image.h"
#include "module/automation.h"
#include "module/object.h"

#include "TavloInternal.h"
#include "TavloLib.h"

#include <memory>

namespace Mardu::Sentel::Tavlo {

// The proxy's two ways to dispose differ, so each interface has one of its own.

class ProxyImageSide : public Automation<ITavlo2>
{
public:
    STDMETHODIMP Dispose() override { return DisposeLocalImage(); }

protected:
    virtual HRESULT DisposeLocalImage() = 0;
};

class ProxyInternalSide : public ITavloInternal
{
public:
    static IUnknown* Match(ProxyInternalSide* object, REFIID iid) noexcept
    {
        return IsEqualIID(iid, IID_ITavloInternal) ? object : nullptr;
    }

    /// The copy is not the accessors' to dispose of.
    STDMETHODIMP Dispose() override { return E_UNEXPECTED; }
};

/// The far end of an image that came from another machine. Clients see an ordinary image
/// whose accessors point into a local copy; the copy is refreshed before it is read and,
/// while somebody is subscribed, at every update. What is written to it stays local.
class CTavloProxy final : public ComObject<ITavlo, ProxyImageSide, ProxyInternalSide, ITavloEvents, IMarshal>
{
public:
    /// Bound to nothing until it is unmarshaled: calls give E_UNEXPECTED.
    CTavloProxy() = default;
    ~CTavloProxy() override;

    STDMETHODIMP get_Descriptor(ITavloDescriptor** ppIDescriptor) override;
    STDMETHODIMP GetReadAccess(IReadAccessor** ppIReadAccessor) override;
    STDMETHODIMP GetWriteAccess(IWriteAccessor** ppIWriteAccessor) override;
    STDMETHODIMP Clone(::TavloAccess access, ITavlo** ppITavlo) override;
    STDMETHODIMP Subscribe(ITavloEvents* pIHandler, EventMode mode) override;
    STDMETHODIMP Unsubscribe(ITavloEvents* pIHandler) override;

    STDMETHODIMP get_Descriptor(ITavloDescriptor2** ppIDescriptor) override;
    STDMETHODIMP GetReadAccess(RECT* pRect, double prescale, IReadAccessor** ppIReadAccessor) override;
    STDMETHODIMP Clone(::TavloAccess access, ITavlo2** ppITavlo) override;

    STDMETHODIMP AddReader() override;
    STDMETHODIMP AddWriter() override;
    STDMETHODIMP ReleaseReader() override;
    STDMETHODIMP ReleaseWriter() override;
    STDMETHODIMP Invalidate(RECT* pDirty) override;
    STDMETHODIMP SetProperty(BSTR name, VARIANT value) override;
    STDMETHODIMP GetProperty(BSTR name, VARIANT* value) override;
    STDMETHODIMP SetDisposalHook(ULONG_PTR hook) override;
    STDMETHODIMP GetPropertyNames(SAFEARRAY** names) override;

    STDMETHODIMP OnImageUpdate(ITavlo* pITavlo, RECT* pDirty) override;

    STDMETHODIMP GetUnmarshalClass(REFIID iid, void* object, DWORD context, void* contextData, DWORD flags,
                                   CLSID* pClass) override;
    STDMETHODIMP GetMarshalSizeMax(REFIID iid, void* object, DWORD context, void* contextData, DWORD flags,
                                   DWORD* pSize) override;
    STDMETHODIMP MarshalInterface(IStream* stream, REFIID iid, void* object, DWORD context, void* contextData,
                                  DWORD flags) override;
    STDMETHODIMP UnmarshalInterface(IStream* stream, REFIID iid, void** result) override;
    STDMETHODIMP ReleaseMarshalData(IStream* stream) override;
    STDMETHODIMP DisconnectObject(DWORD reserved) override;

private:
    HRESULT DisposeLocalImage() override;
    void Bind(IStream* stream);
    ComPtr<IStream> MarshaledStub() const;
    void StartRefreshThread();

    CTavlo* Local() const noexcept { return remote_->Local(); }

    // Destroyed from the last to the first.
    CriticalSection threadLock_;
    std::shared_ptr<RemoteImage> remote_ =
        std::make_shared<RemoteImage>(); ///< shared with the refresh thread
    ComPtr<ITavloStub> stub_;
    ComPtr<IStream> stubStream_; ///< the stub for the refresh thread
    UniqueHandle thread_;        ///< null until the first Subscribe
};

} // namespace Mardu::Sentel::Tavlo
