#pragma once

#include "module/lifetime_log.h"
#include "module/object.h"

#include "TavloInternal.h"
#include "TavloLib.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Mardu::Sentel::Tavlo {

/// How an access interface counts on its image, and what its Invalidate does.
template <class Interface>
struct AccessorTraits;

template <>
struct AccessorTraits<IReadAccessor>
{
    using Interface = IReadAccessor;
    static HRESULT Add(ITavloInternal* image) { return image->AddReader(); }
    static HRESULT Release(ITavloInternal* image) { return image->ReleaseReader(); }
    static HRESULT Invalidate(ITavloInternal*, RECT*) { return E_FAIL; }
};

template <>
struct AccessorTraits<IWriteAccessor>
{
    using Interface = IWriteAccessor;
    static HRESULT Add(ITavloInternal* image) { return image->AddWriter(); }
    static HRESULT Release(ITavloInternal* image) { return image->ReleaseWriter(); }
    static HRESULT Invalidate(ITavloInternal* image, RECT* pDirty) { return image->Invalidate(pDirty); }
};

/// An accessor of an image's bytes. It keeps the image alive and is counted by it from
/// Attach until it dies. The view belongs to the image.
template <class TDerived, class Traits, const CLSID& clsid>
class CAccessorImpl : public ComObject<typename Traits::Interface>
{
public:
    /// Counts on the image, takes a reference of it, and stands for the image's own view
    /// from now on.
    void Attach(ITavloInternal* image, const std::wstring& mapName, void* view)
    {
        Traits::Add(image);
        image_ = image;
        mapName_ = mapName;
        view_ = view;
    }

    /// Not bounds-checked, on purpose; null before Attach.
    STDMETHODIMP_(void*) Ptr(long Offset) override
    {
        return view_ != nullptr ? static_cast<std::uint8_t*>(view_) + static_cast<std::ptrdiff_t>(Offset) : nullptr;
    }

    /// In the read accessor's table only; its interface does not expose it.
    virtual HRESULT STDMETHODCALLTYPE Invalidate(RECT* pDirty)
    {
        // A handler may release this accessor's last reference.
        const ComPtr<ITavloInternal> image = image_;
        return image != nullptr ? Traits::Invalidate(image.Get(), pDirty) : E_UNEXPECTED;
    }

protected:
    ~CAccessorImpl() override
    {
        if (image_ != nullptr)
            Traits::Release(image_.Get());
    }

private:
    ComPtr<ITavloInternal> image_;
    void* view_ = nullptr;
    std::wstring mapName_; ///< travels with the accessor into other processes
};

class CReadAccessor final : public CAccessorImpl<CReadAccessor, AccessorTraits<IReadAccessor>, CLSID_ReadAccessor>,
                            private LifeTimeLog<CReadAccessor>
{
};

class CWriteAccessor final
    : public CAccessorImpl<CWriteAccessor, AccessorTraits<IWriteAccessor>, CLSID_WriteAccessor>,
      private LifeTimeLog<CWriteAccessor>
{
};

} // namespace Mardu::Sentel::Tavlo
