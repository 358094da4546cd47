#include "access/proxy/tavlo_proxy.h"

#include "access/accessor.h"
#include "module/error.h"
#include "module/foreign_call.h"
#include "module/module_thread.h"
#include "module/standard_marshal.h"

#include <mutex>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

/// What a method that hands out an object answers before the proxy is bound.
template <class Interface>
HRESULT Unbound(Interface** ppInterface) noexcept
{
    if (ppInterface == nullptr)
        return E_POINTER;
    *ppInterface = nullptr;
    return E_UNEXPECTED;
}

/// What the refresh thread does. The stream is used up by it.
void RefreshOnThread(RemoteImage& remote, ComPtr<IStream> stream)
{
    ComPtr<ITavloStub> stub;
    const HRESULT hr = CoGetInterfaceAndReleaseStream(stream.Detach(), IID_ITavloStub,
                                                      reinterpret_cast<void**>(stub.GetAddressOf()));
    if (FAILED(hr)) {
        remote.SetThreadResult(hr);
        return;
    }
    remote.RefreshUntilStopped(stub.Get());
}

} // namespace

CTavloProxy::~CTavloProxy()
{
    remote_->Stop();
    // A handler on the refresh thread may have released the proxy: the thread does not
    // wait for itself, and owns what it still uses.
    const bool isOwnThread = thread_ != nullptr && GetThreadId(thread_.get()) == GetCurrentThreadId();
    if (thread_ != nullptr && !isOwnThread)
        WaitForSingleObject(thread_.get(), INFINITE);
    thread_.reset();
    if (!isOwnThread)
        remote_->ReleaseWriter();
    if (stubStream_ != nullptr)
        ReleaseUnusedMarshalData(stubStream_.Get());
}

HRESULT CTavloProxy::get_Descriptor(ITavloDescriptor** ppIDescriptor)
{
    return Local() != nullptr ? Local()->get_Descriptor(ppIDescriptor) : Unbound(ppIDescriptor);
}

HRESULT CTavloProxy::get_Descriptor(ITavloDescriptor2** ppIDescriptor)
{
    return Local() != nullptr ? Local()->get_Descriptor(ppIDescriptor) : Unbound(ppIDescriptor);
}

HRESULT CTavloProxy::GetReadAccess(IReadAccessor** ppIReadAccessor)
{
    RECT whole = remote_->Whole();
    return GetReadAccess(&whole, 1.0, ppIReadAccessor);
}

HRESULT CTavloProxy::GetReadAccess(RECT*, double, IReadAccessor** ppIReadAccessor)
{
    if (Local() == nullptr || ppIReadAccessor == nullptr)
        return Unbound(ppIReadAccessor);
    *ppIReadAccessor = nullptr;
    const auto alive = KeepAlive();
    const HRESULT hr = remote_->Refresh(stub_.Get());
    if (FAILED(hr))
        return hr;
    return Local()->GetReadAccessCountedBy(this, ppIReadAccessor);
}

HRESULT CTavloProxy::GetWriteAccess(IWriteAccessor** ppIWriteAccessor)
{
    return Local() != nullptr ? Local()->GetWriteAccessCountedBy(this, ppIWriteAccessor)
                              : Unbound(ppIWriteAccessor);
}

HRESULT CTavloProxy::Clone(::TavloAccess access, ITavlo** ppITavlo)
{
    if (Local() == nullptr)
        return Unbound(ppITavlo);
    if (ppITavlo != nullptr)
        *ppITavlo = nullptr;
    const auto alive = KeepAlive();
    const HRESULT hr = remote_->Refresh(stub_.Get());
    return SUCCEEDED(hr) ? Local()->Clone(access, ppITavlo) : hr;
}

HRESULT CTavloProxy::Clone(::TavloAccess access, ITavlo2** ppITavlo)
{
    if (Local() == nullptr)
        return Unbound(ppITavlo);
    if (ppITavlo != nullptr)
        *ppITavlo = nullptr;
    const auto alive = KeepAlive();
    const HRESULT hr = remote_->Refresh(stub_.Get());
    return SUCCEEDED(hr) ? Local()->Clone(access, ppITavlo) : hr;
}

HRESULT CTavloProxy::Subscribe(ITavloEvents* pIHandler, EventMode mode)
{
    if (pIHandler == nullptr)
        return E_POINTER;
    if (Local() == nullptr)
        return E_UNEXPECTED;
    const auto alive = KeepAlive();
    const HRESULT hr = Guarded([&] {
        StartRefreshThread();
        return CallForeign([&] { return stub_->Subscribe(this); });
    });
    return SUCCEEDED(hr) ? Local()->Subscribe(pIHandler, mode) : hr;
}

HRESULT CTavloProxy::Unsubscribe(ITavloEvents* pIHandler)
{
    if (Local() == nullptr)
        return E_UNEXPECTED;
    const auto alive = KeepAlive();
    // Ends the remote updates for all local handlers; the next Subscribe renews them.
    const HRESULT hr = Guarded([&] { return CallForeign([&] { return stub_->Subscribe(nullptr); }); });
    return SUCCEEDED(hr) ? Local()->Unsubscribe(pIHandler) : hr;
}

HRESULT CTavloProxy::DisposeLocalImage()
{
    const auto alive = KeepAlive();
    return Local() != nullptr ? Local()->Dispose() : E_UNEXPECTED;
}

HRESULT CTavloProxy::AddReader()
{
    return Local() != nullptr ? Local()->AddReader() : E_UNEXPECTED;
}

HRESULT CTavloProxy::AddWriter()
{
    return Local() != nullptr ? Local()->AddWriter() : E_UNEXPECTED;
}

HRESULT CTavloProxy::ReleaseReader()
{
    return Local() != nullptr ? Local()->ReleaseReader() : E_UNEXPECTED;
}

HRESULT CTavloProxy::ReleaseWriter()
{
    return Local() != nullptr ? Local()->ReleaseWriter() : E_UNEXPECTED;
}

HRESULT CTavloProxy::Invalidate(RECT* pDirty)
{
    const auto alive = KeepAlive();
    return Local() != nullptr ? Local()->Invalidate(pDirty) : E_UNEXPECTED;
}

HRESULT CTavloProxy::SetProperty(BSTR name, VARIANT value)
{
    const auto alive = KeepAlive();
    return Local() != nullptr ? Local()->SetProperty(name, value) : E_UNEXPECTED;
}

HRESULT CTavloProxy::GetProperty(BSTR name, VARIANT* value)
{
    const auto alive = KeepAlive();
    return Local() != nullptr ? Local()->GetProperty(name, value) : E_UNEXPECTED;
}

HRESULT CTavloProxy::SetDisposalHook(ULONG_PTR hook)
{
    return Local() != nullptr ? Local()->SetDisposalHook(hook) : E_UNEXPECTED;
}

HRESULT CTavloProxy::GetPropertyNames(SAFEARRAY** names)
{
    return Local() != nullptr ? Local()->GetPropertyNames(names) : E_UNEXPECTED;
}

HRESULT CTavloProxy::OnImageUpdate(ITavlo*, RECT* pDirty)
{
    if (Local() == nullptr)
        return E_UNEXPECTED;
    return Guarded([&] {
        remote_->Outdate(pDirty != nullptr ? *pDirty : remote_->Whole());
        // Where nobody refreshes, nobody takes updates either: the stub's image drops us then.
        return remote_->ThreadResult();
    });
}

// A proxy is passed on by standard marshaling. Only its own class arrives here as a
// packet of a stub.

HRESULT CTavloProxy::GetUnmarshalClass(REFIID iid, void* object, DWORD context, void* contextData,
                                       DWORD flags, CLSID* pClass)
{
    return Guarded([&] {
        return StandardMarshal(iid, this->Outer(), context, contextData, flags)
            ->GetUnmarshalClass(iid, object, context, contextData, flags, pClass);
    });
}

HRESULT CTavloProxy::GetMarshalSizeMax(REFIID iid, void* object, DWORD context, void* contextData,
                                       DWORD flags, DWORD* pSize)
{
    return Guarded([&] {
        return StandardMarshal(iid, this->Outer(), context, contextData, flags)
            ->GetMarshalSizeMax(iid, object, context, contextData, flags, pSize);
    });
}

HRESULT CTavloProxy::MarshalInterface(IStream* stream, REFIID iid, void* object, DWORD context,
                                      void* contextData, DWORD flags)
{
    return Guarded([&] {
        return StandardMarshal(iid, this->Outer(), context, contextData, flags)
            ->MarshalInterface(stream, iid, object, context, contextData, flags);
    });
}

HRESULT CTavloProxy::UnmarshalInterface(IStream* stream, REFIID iid, void** result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    if (stream == nullptr)
        return E_POINTER;
    return Guarded([&] {
        Bind(stream);
        return QueryInterface(iid, result);
    });
}

HRESULT CTavloProxy::ReleaseMarshalData(IStream* stream)
{
    if (stream == nullptr)
        return E_POINTER;
    ComPtr<ITavloStub> stub;
    return CoUnmarshalInterface(stream, IID_ITavloStub, reinterpret_cast<void**>(stub.GetAddressOf()));
}

HRESULT CTavloProxy::DisconnectObject(DWORD)
{
    return S_OK;
}

void CTavloProxy::Bind(IStream* stream)
{
    CheckHResult(CoUnmarshalInterface(stream, IID_ITavloStub,
                                      reinterpret_cast<void**>(stub_.ReleaseAndGetAddressOf())));
    if (Local() != nullptr)
        remote_ = std::make_shared<RemoteImage>();
    try {
        remote_->MakeCopy(stub_.Get());
        stubStream_ = MarshaledStub();
        remote_->TakeWriter();
    } catch (...) {
        remote_->DropCopy();
        throw;
    }
}

ComPtr<IStream> CTavloProxy::MarshaledStub() const
{
    ComPtr<IStream> stream;
    CheckHResult(CoMarshalInterThreadInterfaceInStream(IID_ITavloStub, stub_.Get(), &stream));
    return stream;
}

void CTavloProxy::StartRefreshThread()
{
    // A thread that could not use its stub is followed by another one.
    ComPtr<IStream> another = FAILED(remote_->ThreadResult()) ? MarshaledStub() : nullptr;
    {
        const std::lock_guard lock(threadLock_);
        if (another != nullptr && FAILED(remote_->ThreadResult())) {
            stubStream_.Swap(another);
            thread_.reset();
            remote_->SetThreadResult(S_OK);
        }
        if (thread_ == nullptr) {
            thread_ = StartModuleThread([remote = remote_, stream = stubStream_]() mutable {
                RefreshOnThread(*remote, std::move(stream));
            });
            stubStream_.Reset();
        }
    }
    if (another != nullptr)
        ReleaseUnusedMarshalData(another.Get());
}

} // namespace Mardu::Sentel::Tavlo
