#include "shared/image/tavlo.h"

#include "access/accessor.h"
#include "access/stub/tavlo_stub.h"
#include "image/descriptor_conversion.h"
#include "module/error.h"
#include "module/foreign_call.h"
#include "module/standard_marshal.h"
#include "shared/sections/private_namespace.h"
#include "shared/sections/section.h"

#include <cstring>
#include <utility>

namespace Mardu::Sentel::Tavlo {
namespace {

std::wstring TextOf(BSTR text)
{
    return {text, SysStringLen(text)};
}

UniqueHandle NotNull(UniqueHandle mapping)
{
    if (mapping == nullptr)
        throw std::invalid_argument("An image needs a section");
    return mapping;
}

} // namespace

CTavlo::CTavlo(ImageLayout layout, std::wstring mapName, UniqueHandle mapping, ::TavloAccess access)
    : mapName_(std::move(mapName)),
      mapping_(NotNull(std::move(mapping))),
      layout_(std::move(layout)),
      access_(access),
      view_(ShareView(MapWholeSection(mapping_.get()), mapName_))
{
}

CTavlo::~CTavlo()
{
    subscriptions_.Stop();
}

HRESULT CTavlo::get_Descriptor(ITavloDescriptor** ppIDescriptor)
{
    if (ppIDescriptor == nullptr)
        return E_POINTER;
    *ppIDescriptor = nullptr;
    if (layout_.Channels.empty())
        return E_UNEXPECTED;
    return Guarded([&] { *ppIDescriptor = NewDescriptor(layout_).Detach(); });
}

HRESULT CTavlo::get_Descriptor(ITavloDescriptor2** ppIDescriptor)
{
    if (ppIDescriptor == nullptr)
        return E_POINTER;
    *ppIDescriptor = nullptr;
    return Guarded([&] { *ppIDescriptor = NewDescriptor2(layout_).Detach(); });
}

HRESULT CTavlo::GetReadAccess(IReadAccessor** ppIReadAccessor)
{
    return GetReadAccessCountedBy(this, ppIReadAccessor);
}

HRESULT CTavlo::GetReadAccessCountedBy(ITavloInternal* counter, IReadAccessor** ppIReadAccessor)
{
    if (ppIReadAccessor == nullptr)
        return E_POINTER;
    *ppIReadAccessor = nullptr;
    if (mapping_ == nullptr)
        return E_PENDING;
    return Guarded([&] { return NewAccessor<CReadAccessor>(counter, mapName_, view_, ppIReadAccessor); });
}

HRESULT CTavlo::GetReadAccess(RECT*, double, IReadAccessor** ppIReadAccessor)
{
    return GetReadAccess(ppIReadAccessor);
}

HRESULT CTavlo::GetWriteAccess(IWriteAccessor** ppIWriteAccessor)
{
    return GetWriteAccessCountedBy(this, ppIWriteAccessor);
}

HRESULT CTavlo::GetWriteAccessCountedBy(ITavloInternal* counter, IWriteAccessor** ppIWriteAccessor)
{
    if (ppIWriteAccessor == nullptr)
        return E_POINTER;
    *ppIWriteAccessor = nullptr;
    if (mapping_ == nullptr)
        return E_PENDING;
    if (access_ == Tavlo_ReadOnly)
        return E_ACCESSDENIED;
    // Checked against attached writers only: of two requests at once both may succeed.
    if (access_ == Tavlo_SingleWriter && writers_ >= 1)
        return E_ACCESSDENIED;
    return Guarded([&] { return NewAccessor<CWriteAccessor>(counter, mapName_, view_, ppIWriteAccessor); });
}

HRESULT CTavlo::Clone(::TavloAccess access, ITavlo** ppITavlo)
{
    if (ppITavlo != nullptr)
        *ppITavlo = nullptr;
    return Guarded([&]() -> HRESULT {
        const ComPtr<CTavlo> clone = NewClone(access);
        if (ppITavlo == nullptr)
            return E_POINTER;
        return clone.CopyTo(ppITavlo);
    });
}

HRESULT CTavlo::Clone(::TavloAccess access, ITavlo2** ppITavlo)
{
    if (ppITavlo != nullptr)
        *ppITavlo = nullptr;
    ComPtr<ITavlo> clone;
    const HRESULT hr = Clone(access, clone.GetAddressOf());
    if (FAILED(hr))
        return hr;
    return ppITavlo != nullptr ? clone.CopyTo(ppITavlo) : E_POINTER;
}

ComPtr<CTavlo> CTavlo::NewClone(::TavloAccess access)
{
    ComPtr<CTavlo> clone = CreateImage(layout_, access == Tavlo_ReadOnly ? Tavlo_SingleWriter : access);
    {
        ComPtr<IReadAccessor> source;
        CheckHResult(GetReadAccess(&source));
        ComPtr<IWriteAccessor> target;
        CheckHResult(clone->GetWriteAccess(&target));
        std::memcpy(target->Ptr(0), source->Ptr(0), static_cast<size_t>(RawDataSize(layout_)));
    }
    // A writer that is never released makes the copy read-only for good.
    if (access == Tavlo_ReadOnly)
        CheckHResult(clone->AddWriter());
    return clone;
}

HRESULT CTavlo::Subscribe(ITavloEvents* pIHandler, EventMode mode)
{
    if (pIHandler == nullptr)
        return E_POINTER;
    const auto alive = KeepAlive();
    return Guarded([&] { subscriptions_.Subscribe(pIHandler, mode); });
}

HRESULT CTavlo::Unsubscribe(ITavloEvents* pIHandler)
{
    if (pIHandler == nullptr)
        return S_OK;
    const auto alive = KeepAlive();
    return Guarded([&] { subscriptions_.Unsubscribe(pIHandler); });
}

HRESULT CTavlo::Dispose()
{
    const auto alive = KeepAlive();
    ITavloDisposalHook* hook = disposalHook_;
    return hook != nullptr ? Guarded([&] { return CallForeign([&] { return hook->Dispose(); }); }) : S_OK;
}

HRESULT CTavlo::AddReader()
{
    ++readers_;
    return S_OK;
}

HRESULT CTavlo::AddWriter()
{
    ++writers_;
    return S_OK;
}

HRESULT CTavlo::ReleaseReader()
{
    --readers_;
    return S_OK;
}

HRESULT CTavlo::ReleaseWriter()
{
    --writers_;
    return S_OK;
}

HRESULT CTavlo::Invalidate(RECT* pDirty)
{
    const auto alive = KeepAlive();
    const RECT dirty = pDirty != nullptr ? *pDirty : RECT{0, 0, layout_.Width, layout_.Height};
    properties_.Clear();
    subscriptions_.Deliver(dirty);
    return S_OK;
}

HRESULT CTavlo::SetProperty(BSTR name, VARIANT value)
{
    const auto alive = KeepAlive();
    return Guarded([&] { properties_.Set(TextOf(name), value); });
}

HRESULT CTavlo::GetProperty(BSTR name, VARIANT* value)
{
    if (value == nullptr)
        return E_POINTER;
    VariantInit(value);
    const auto alive = KeepAlive();
    return Guarded([&] { *value = properties_.Get(TextOf(name)); });
}

HRESULT CTavlo::SetDisposalHook(ULONG_PTR hook)
{
    disposalHook_ = reinterpret_cast<ITavloDisposalHook*>(hook);
    return S_OK;
}

HRESULT CTavlo::GetPropertyNames(SAFEARRAY** names)
{
    if (names == nullptr)
        return E_POINTER;
    *names = nullptr;
    return Guarded([&] { *names = properties_.Names(); });
}

HRESULT CTavlo::GetUnmarshalClass(REFIID iid, void* object, DWORD context, void* contextData, DWORD flags,
                                  CLSID* pClass)
{
    if (pClass == nullptr)
        return E_POINTER;
    if (context == MSHCTX_DIFFERENTMACHINE) {
        *pClass = CLSID_TavloProxy;
        return S_OK;
    }
    return Guarded([&] {
        return StandardMarshal(iid, Outer(), context, contextData, flags)
            ->GetUnmarshalClass(iid, object, context, contextData, flags, pClass);
    });
}

HRESULT CTavlo::GetMarshalSizeMax(REFIID iid, void* object, DWORD context, void* contextData, DWORD flags,
                                  DWORD* pSize)
{
    if (pSize == nullptr)
        return E_POINTER;
    return Guarded([&] {
        const HRESULT hr = StandardMarshal(iid, Outer(), context, contextData, flags)
                               ->GetMarshalSizeMax(iid, object, context, contextData, flags, pSize);
        // Room for the reference to the stub that takes the image's place.
        if (SUCCEEDED(hr) && context == MSHCTX_DIFFERENTMACHINE)
            *pSize *= 2;
        return hr;
    });
}

HRESULT CTavlo::MarshalInterface(IStream* stream, REFIID iid, void* object, DWORD context, void* contextData,
                                 DWORD flags)
{
    if (stream == nullptr)
        return E_POINTER;
    const auto alive = KeepAlive();
    return Guarded([&] {
        if (context != MSHCTX_DIFFERENTMACHINE) {
            return StandardMarshal(iid, Outer(), context, contextData, flags)
                ->MarshalInterface(stream, iid, object, context, contextData, flags);
        }
        const ComPtr<CTavloStub> stub = Make<CTavloStub>(this, layout_);
        return CoMarshalInterface(stream, IID_ITavloStub, static_cast<ITavloStub*>(stub.Get()), context,
                                  contextData, flags);
    });
}

HRESULT CTavlo::UnmarshalInterface(IStream* stream, REFIID iid, void** result)
{
    return Guarded([&] { return StandardUnmarshal()->UnmarshalInterface(stream, iid, result); });
}

HRESULT CTavlo::ReleaseMarshalData(IStream* stream)
{
    return Guarded([&] { return StandardUnmarshal()->ReleaseMarshalData(stream); });
}

HRESULT CTavlo::DisconnectObject(DWORD reserved)
{
    return Guarded([&] { return StandardUnmarshal()->DisconnectObject(reserved); });
}

ComPtr<CTavlo> CreateImage(const ImageLayout& layout, ::TavloAccess access)
{
    NewSection section = CreateSection(SectionNamePrefix(), RawDataSize(layout));
    return Make<CTavlo>(layout, std::move(section.name), std::move(section.mapping), access);
}

} // namespace Mardu::Sentel::Tavlo
