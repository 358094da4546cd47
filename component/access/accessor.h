#pragma once

#include "access/accessor_marshal.h"
#include "module/error.h"
#include "module/lifetime_log.h"
#include "module/object.h"

#include "TavloInternal.h"
#include "TavloLib.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace Mardu::Sentel::Tavlo {

/// How an image counts the accessors of an interface, and what their Invalidate does.
template <class Interface>
struct AccessorTraits;

template <>
struct AccessorTraits<IReadAccessor>
{
    using Interface = IReadAccessor;
    static HRESULT AddTo(ITavloInternal* counter) { return counter->AddReader(); }
    static HRESULT RemoveFrom(ITavloInternal* counter) { return counter->ReleaseReader(); }
    /// Whether there is an image or not.
    static HRESULT Invalidate(ITavloInternal*, RECT*) { return E_FAIL; }
};

template <>
struct AccessorTraits<IWriteAccessor>
{
    using Interface = IWriteAccessor;
    static HRESULT AddTo(ITavloInternal* counter) { return counter->AddWriter(); }
    static HRESULT RemoveFrom(ITavloInternal* counter) { return counter->ReleaseWriter(); }
    static HRESULT Invalidate(ITavloInternal* image, RECT* pDirty)
    {
        return image != nullptr ? image->Invalidate(pDirty) : E_UNEXPECTED;
    }
};

/// An accessor of an image's bytes. It keeps the image alive and is counted by it from
/// Attach until it dies. It marshals by value: the receiver gets an accessor of its own,
/// in another process with a mapping of its own.
template <class TDerived, class Traits, const CLSID& clsid>
class CAccessorImpl : public ComObject<typename Traits::Interface, IMarshal>
{
public:
    /// Has the image count this accessor, and stands for the target from now on. Throws the
    /// failure of counting, which an image of another process may have.
    void Attach(AccessorTarget target)
    {
        CheckHResult(Traits::AddTo(target.image.Get()));
        target_ = std::move(target);
    }

    /// Not bounds-checked, on purpose; null before Attach.
    STDMETHODIMP_(void*) Ptr(long Offset) override
    {
        auto* view = static_cast<std::uint8_t*>(target_.view.get());
        return view != nullptr ? view + static_cast<std::ptrdiff_t>(Offset) : nullptr;
    }

    /// In the read accessor's table only; its interface does not expose it, so one instance overrides.
    // NOLINTNEXTLINE(modernize-use-override, clang-diagnostic-inconsistent-missing-override)
    virtual HRESULT STDMETHODCALLTYPE Invalidate(RECT* pDirty)
    {
        // A handler may release this accessor's last reference.
        const ComPtr<ITavloInternal> image = target_.image;
        return Guarded([&] { return Traits::Invalidate(image.Get(), pDirty); });
    }

    STDMETHODIMP GetUnmarshalClass(REFIID, void*, DWORD context, void*, DWORD, CLSID* pClass) override
    {
        if (pClass == nullptr)
            return E_POINTER;
        if (context == MSHCTX_DIFFERENTMACHINE)
            return CO_E_CANT_REMOTE;
        *pClass = clsid;
        return S_OK;
    }

    STDMETHODIMP GetMarshalSizeMax(REFIID iid, void* object, DWORD context, void* contextData, DWORD flags,
                                   DWORD* pSize) override
    {
        if (pSize == nullptr)
            return E_POINTER;
        if (context == MSHCTX_DIFFERENTMACHINE)
            return CO_E_CANT_REMOTE;
        return Guarded(
            [&] { *pSize = AccessorMarshalSizeMax(target_, iid, object, context, contextData, flags); });
    }

    STDMETHODIMP MarshalInterface(IStream* stream, REFIID, void*, DWORD context, void* contextData,
                                  DWORD) override
    {
        if (stream == nullptr)
            return E_POINTER;
        return Guarded([&] { MarshalAccessor(stream, target_, context, contextData); });
    }

    STDMETHODIMP UnmarshalInterface(IStream* stream, REFIID iid, void** result) override
    {
        if (result == nullptr)
            return E_POINTER;
        *result = nullptr;
        if (stream == nullptr)
            return E_POINTER;
        return Guarded([&] {
            Attach(UnmarshalAccessor(stream));
            return this->QueryInterface(iid, result);
        });
    }

    STDMETHODIMP ReleaseMarshalData(IStream* stream) override
    {
        if (stream == nullptr)
            return E_POINTER;
        return Guarded([&] { ReleaseAccessorMarshalData(stream); });
    }

    STDMETHODIMP DisconnectObject(DWORD) override { return S_OK; }

protected:
    ~CAccessorImpl() override
    {
        if (target_.image != nullptr)
            Traits::RemoveFrom(target_.image.Get());
    }

private:
    AccessorTarget target_;
};

class CReadAccessor final
    : public CAccessorImpl<CReadAccessor, AccessorTraits<IReadAccessor>, CLSID_ReadAccessor>,
      private LifeTimeLog<CReadAccessor>
{
};

class CWriteAccessor final
    : public CAccessorImpl<CWriteAccessor, AccessorTraits<IWriteAccessor>, CLSID_WriteAccessor>,
      private LifeTimeLog<CWriteAccessor>
{
};

/// A new accessor of an image's own view, as the interface asked for.
template <class Accessor, class Interface>
HRESULT NewAccessor(ITavloInternal* image, const std::wstring& mapName, const SharedView& view,
                    Interface** ppAccessor)
{
    AccessorTarget target;
    target.image = image;
    target.mapName = mapName;
    target.view = view;
    const auto accessor = Make<Accessor>();
    accessor->Attach(std::move(target));
    return accessor.CopyTo(ppAccessor);
}

} // namespace Mardu::Sentel::Tavlo
