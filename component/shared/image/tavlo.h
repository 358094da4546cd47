#pragma once

#include "image/layout.h"
#include "module/automation.h"
#include "module/handle.h"
#include "module/lifetime_log.h"
#include "module/noncopyable.h"
#include "module/object.h"
#include "module/object_safety.h"
#include "shared/image/property_bag.h"
#include "shared/sections/shared_view.h"
#include "shared/updates/update_subscriptions.h"

#include "TavloInternal.h"
#include "TavloLib.h"

#include <atomic>
#include <string>

namespace Mardu::Sentel::Tavlo {

/// An image: a section of shared memory, its geometry and its access rule. It hands out
/// accessors, which keep it alive, and counts them.
class CTavlo final : private NonCopyable,
                     private LifeTimeLog<CTavlo>,
                     public ComObject<ITavlo, Automation<ITavlo2>, ObjectSafety, ITavloInternal, IMarshal>
{
public:
    /// Not bound to a section: accessors are refused with E_PENDING.
    CTavlo() = default;

    /// Binds the image to a section and maps it; the image owns the mapping from then on.
    /// mapName is the name under which the section travels. Throws E_INVALIDARG for a null
    /// mapping and the platform's error for a failed view.
    CTavlo(ImageLayout layout, std::wstring mapName, UniqueHandle mapping, ::TavloAccess access);

    /// Does not wait for handlers that are still running.
    ~CTavlo() override;

    STDMETHODIMP get_Descriptor(ITavloDescriptor** ppIDescriptor) override;
    STDMETHODIMP GetReadAccess(IReadAccessor** ppIReadAccessor) override;
    STDMETHODIMP GetWriteAccess(IWriteAccessor** ppIWriteAccessor) override;
    STDMETHODIMP Clone(::TavloAccess access, ITavlo** ppITavlo) override;
    STDMETHODIMP Subscribe(ITavloEvents* pIHandler, EventMode mode) override;
    STDMETHODIMP Unsubscribe(ITavloEvents* pIHandler) override;

    STDMETHODIMP get_Descriptor(ITavloDescriptor2** ppIDescriptor) override;
    STDMETHODIMP GetReadAccess(RECT* pRect, double prescale, IReadAccessor** ppIReadAccessor) override;
    STDMETHODIMP Clone(::TavloAccess access, ITavlo2** ppITavlo) override;
    STDMETHODIMP Dispose() override;

    STDMETHODIMP AddReader() override;
    STDMETHODIMP AddWriter() override;
    STDMETHODIMP ReleaseReader() override;
    STDMETHODIMP ReleaseWriter() override;
    STDMETHODIMP Invalidate(RECT* pDirty) override;
    STDMETHODIMP SetProperty(BSTR name, VARIANT value) override;
    STDMETHODIMP GetProperty(BSTR name, VARIANT* value) override;
    STDMETHODIMP SetDisposalHook(ULONG_PTR hook) override;
    STDMETHODIMP GetPropertyNames(SAFEARRAY** names) override;

    // Within one machine an image travels by standard marshaling; to another machine goes
    // a stub, which becomes a proxy there.
    STDMETHODIMP GetUnmarshalClass(REFIID iid, void* object, DWORD context, void* contextData, DWORD flags,
                                   CLSID* pClass) override;
    STDMETHODIMP GetMarshalSizeMax(REFIID iid, void* object, DWORD context, void* contextData, DWORD flags,
                                   DWORD* pSize) override;
    STDMETHODIMP MarshalInterface(IStream* stream, REFIID iid, void* object, DWORD context, void* contextData,
                                  DWORD flags) override;
    STDMETHODIMP UnmarshalInterface(IStream* stream, REFIID iid, void** result) override;
    STDMETHODIMP ReleaseMarshalData(IStream* stream) override;
    STDMETHODIMP DisconnectObject(DWORD reserved) override;

    /// Accessors of this image's pixels that another object counts and keeps alive: a proxy, for
    /// those of its local copy.
    HRESULT GetReadAccessCountedBy(ITavloInternal* counter, IReadAccessor** ppIReadAccessor);
    HRESULT GetWriteAccessCountedBy(ITavloInternal* counter, IWriteAccessor** ppIWriteAccessor);

private:
    ComPtr<CTavlo> NewClone(::TavloAccess access);

    // Destroyed from the last to the first: whoever is let go by it, a value of the bag or a handler,
    // finds no pixels any more, and a handler no section either.
    UpdateSubscriptions subscriptions_;
    const std::wstring mapName_;
    const UniqueHandle mapping_;
    const ImageLayout layout_ = {};
    const ::TavloAccess access_ = Tavlo_ReadOnly;
    std::atomic<std::int32_t> readers_ = 0;
    std::atomic<std::int32_t> writers_ = 0;
    std::atomic<ITavloDisposalHook*> disposalHook_ = nullptr;
    PropertyBag properties_;
    const SharedView view_;
};

/// Makes an image in a new section, all bytes zero; throws when it cannot.
ComPtr<CTavlo> CreateImage(const ImageLayout& layout, ::TavloAccess access);

} // namespace Mardu::Sentel::Tavlo
